#include "Tests/Endurance/Workload.h"

#include <objbase.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace Zv::Testing
{

namespace
{

Simulator::Machine* g_machine = nullptr; // of the one Workload
std::atomic<long> g_blocks = 0;
void* (*g_malloc)(std::size_t) = nullptr;
void* (*g_calloc)(std::size_t, std::size_t) = nullptr;
void* (*g_realloc)(void*, std::size_t) = nullptr;
void (*g_free)(void*) = nullptr;

void* Counted(void* block)
{
    g_blocks += block != nullptr ? 1 : 0;
    return block;
}

void* CountingMalloc(std::size_t size)
{
    return Counted(g_malloc(size));
}

void* CountingCalloc(std::size_t count, std::size_t size)
{
    return Counted(g_calloc(count, size));
}

void* CountingRealloc(void* block, std::size_t size)
{
    return block == nullptr ? Counted(g_realloc(block, size)) : g_realloc(block, size);
}

void CountingFree(void* block)
{
    g_blocks -= block != nullptr ? 1 : 0;
    g_free(block);
}

HRESULT WINAPI CreateOnMachine(REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object)
{
    return g_machine->CreateInstance(id, outer, context, iid, object);
}

RPC_STATUS RPC_ENTRY NoRemoteCall(RPC_BINDING_HANDLE, void*)
{
    return RPC_S_NO_CALL_ACTIVE;
}

struct Command
{
    unsigned int function;
    const wchar_t* request;
    int code;
};

constexpr Command Commands[] = {
    {2, LR"({"command":1,"commandType":255,"inputDataSize":4,"inputData":"AQIDBA==","returnDataSize":128})", 0},
    {2, LR"({"command":1,"commandType":40,"inputDataSize":0,"returnDataSize":4})", 0},
    {2, LR"({"command":1,"commandType":40,"inputDataSize":0,"returnDataSize":5})", 0x20000009},
    {16, LR"({"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"})", 0},
    {16, LR"({"property":"None","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"})", 0x2000000d},
    {16, LR"({"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\NONE"})", 0x20000012},
    {32, LR"({"property":"Name","wmiClass":"Win32_Process","wmiNamespace":"ROOT\\CIMV2"})", 0},
    {32, LR"({"property":"BIOSVersion","wmiClass":"Win32_BIOS","wmiNamespace":"ROOT\\CIMV2"})", 0},
    {64, LR"({"name":"Fast Boot","value":"Enable","password":"Winter-2024"})", 0},
    {128, LR"({"password":"Winter-2024"})", 0},
    {256, LR"({"wmiClass":"Win32_Process","wmiNamespace":"ROOT\\CIMV2"})", 0},
    {8, L"{}", 0},
    {3, L"{}", 0x20000001},
    {16, L"{", 0x20000016},
};
constexpr std::size_t CommandsOfASession = 200;

} // namespace

Workload::Workload() : m_machine{Simulator::Machine::Load(ZV_MACHINES "/notebook.json")}, m_service{m_module}
{
    g_machine = &m_machine;
    const Interception::ImportTable imports{m_module.Handle()};
    const auto redirect = [&]<class Function>(const char* name, Function* replacement) {
        m_redirections.push_back(imports.Redirect(nullptr, name, replacement));
        return m_redirections.back().Original<Function*>();
    };
    redirect("CoCreateInstance", &CreateOnMachine);
    redirect("RpcServerInqCallAttributesW", &NoRemoteCall); // Wine has none
    // What the module imports of the heap differs between builds.
    const auto count = [&]<class Function>(const char* name, Function* replacement, Function*& original) {
        if (imports.Contains(nullptr, name))
        {
            original = imports.Current<Function*>(nullptr, name);
            redirect(name, replacement);
        }
    };
    count("malloc", &CountingMalloc, g_malloc);
    count("calloc", &CountingCalloc, g_calloc);
    count("realloc", &CountingRealloc, g_realloc);
    count("free", &CountingFree, g_free);
}

Workload::~Workload()
{
    while (!m_redirections.empty())
    {
        m_redirections.pop_back();
    }
}

std::size_t Workload::RunCommands(std::size_t commands, std::size_t threads)
{
    std::atomic<std::size_t> wrong = 0;
    std::vector<std::thread> running;
    for (std::size_t i = 0; i < threads; ++i)
    {
        running.emplace_back([&] { wrong += RunOnThread(commands / threads); });
    }
    for (std::thread& thread : running)
    {
        thread.join();
    }
    return wrong;
}

std::size_t Workload::RunOnThread(std::size_t commands) const
{
    std::size_t wrong = 0;
    for (std::size_t done = 0; done < commands;)
    {
        Session session{m_service.Get(), L"endurance"};
        for (std::size_t i = 0; i < CommandsOfASession && done < commands; ++i, ++done)
        {
            const Command& command = Commands[done % std::size(Commands)];
            const Reply reply = Run(m_service.Get(), session.Get(), command.function, command.request);
            wrong += reply.code == command.code ? 0 : 1;
        }
    }
    return wrong;
}

std::size_t Workload::RelayEvents(std::size_t events)
{
    Session session{m_service.Get(), L"endurance"};
    std::atomic<std::size_t> relayed = 0;
    const std::size_t before = m_machine.Subscriptions();
    std::thread registration{[&] {
        static_cast<void>(
            Run(m_service.Get(), session.Get(), 4, L"null", ProgressCallback{[&relayed](wchar_t*) { ++relayed; }}));
    }};
    if (m_machine.WaitForSubscriptions(before + 1, std::chrono::seconds{20}))
    {
        for (std::size_t i = 0; i < events; ++i)
        {
            m_machine.FireEvent(static_cast<int>(i), 1); // waits while the one before it is being relayed
        }
    }
    while (relayed < events) // the last one may still be in the mailbox
    {
        SwitchToThread();
    }
    static_cast<void>(Run(m_service.Get(), session.Get(), 8, L"{}"));
    registration.join();
    return events - relayed;
}

long Workload::Blocks()
{
    return g_blocks;
}

} // namespace Zv::Testing
