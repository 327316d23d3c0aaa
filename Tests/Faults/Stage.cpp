#include "Tests/Faults/Stage.h"

#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/Support/Text.h"

#include <objbase.h>
#include <process.h>

#include <utility>

namespace Zv::Testing
{

namespace
{

// Stands before PlatformCalls, so that the books are kept in front of it.
struct UserAtTheConsole final : Simulator::UserSession
{
    UserAtTheConsole(HMODULE module, const Simulator::Description& description,
                     std::function<void(const Simulator::StartedProcess&)> onStart)
        : UserSession{description, {.onStart = std::move(onStart)}}
    {
        Attach(module);
    }
};

} // namespace

static std::wstring DescribeLaunch(const Simulator::StartedProcess& process)
{
    return process.application + L"|" + process.commandLine + L"|" + process.directory;
}

Stage::Stage(HMODULE module, Simulator::Machine& simulated)
    : machine{simulated},
      user{std::make_unique<UserAtTheConsole>(
          module, machine.GetDescription(),
          [this](const Simulator::StartedProcess& process) { m_launches.push_back(DescribeLaunch(process)); })},
      automation{machine, module},
      calls{module, transcript, plan, ledgers},
      heap{calls, ledgers},
      box{machine},
      m_comBlocks{(RedirectPlatform(), ComMemory::Blocks())},
      m_gate{module, box}
{
}

Stage::~Stage() = default;

void Stage::RedirectPlatform()
{
    calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
        [this](REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
            return machine.CreateInstance(id, outer, context, iid, object);
        });
    calls.Replace<"CoUninitialize", decltype(CoUninitialize)>([this] {
        const Simulator::OutstandingCounts held = machine.Outstanding();
        if (ledgers.comJoins.OfThisThread() == 0 && held.Total() != held.strings + held.arrays)
        {
            m_heldWhenLeft += held.Describe() + "\n";
        }
        CoUninitialize();
    });
    // Wine has no such function.
    calls.Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
        [](RPC_BINDING_HANDLE, void*) -> RPC_STATUS { return RPC_S_NO_CALL_ACTIVE; });
    calls.Replace<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(
        [this](DWORD count, const HANDLE* handles, BOOL all, DWORD) { return Wait(count, handles, all); });
    calls.Replace<"_beginthreadex", decltype(_beginthreadex)>([this](void*, unsigned int,
                                                                     unsigned int(__stdcall * body)(void*),
                                                                     void* argument, unsigned int, unsigned int*) {
        threads.push_back([body, argument] { body(argument); });
        // Any handle that can be closed, of something that has ended.
        return reinterpret_cast<std::uintptr_t>(CreateEventW(nullptr, TRUE, TRUE, nullptr));
    });
    // The module is not pinned: each load of it ends.
    calls.Replace<"GetModuleHandleExW", decltype(GetModuleHandleExW)>(
        [](DWORD, const wchar_t*, HMODULE*) -> BOOL { return TRUE; });
}

DWORD Stage::Wait(DWORD count, const HANDLE* handles, BOOL all)
{
    for (;;)
    {
        const DWORD signalled = WaitForMultipleObjects(count, handles, all, 0);
        if (signalled != WAIT_TIMEOUT)
        {
            return signalled;
        }
        if (m_nextStep < m_steps.size())
        {
            m_steps[m_nextStep++]();
        }
        else
        {
            m_stoppedFromOutside = true;
            SetEvent(handles[0]);
        }
    }
}

void Stage::Begin(std::vector<std::function<void()>> newSteps)
{
    m_steps = std::move(newSteps);
    m_nextStep = 0;
    m_stoppedFromOutside = false;
    threads.clear();
    m_launches.clear();
    transcript.Clear();
}

int Stage::TakeJoins()
{
    const int joins = ledgers.comJoins.Take();
    for (int n = joins; n > 0; --n)
    {
        CoUninitialize();
    }
    for (int n = joins; n < 0; ++n)
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    }
    return joins;
}

bool Stage::TakeImpersonation()
{
    const bool held = ledgers.impersonations.exchange(0) != 0;
    if (held)
    {
        calls.Original<"RevertToSelf", decltype(RevertToSelf)>()();
    }
    return held;
}

std::string Stage::TakeLeftovers()
{
    std::string left = Narrow(ledgers.Outstanding());
    const auto add = [&left](std::size_t count, const std::string& what) {
        if (count != 0)
        {
            left += std::to_string(count) + " " + what + "\n";
        }
    };
    if (const Simulator::OutstandingCounts counts = machine.Outstanding(); counts.Total() != 0)
    {
        left += "of the machine: " + counts.Describe() + "\n";
    }
    const Simulator::OutstandingOfUser ofUser = user->Outstanding();
    add(ofUser.tokens, "tokens");
    add(ofUser.environments, "environment blocks");
    add(ofUser.packageInfos, "package descriptions");
    add(ofUser.processHandles, "handles of processes");
    add(ofUser.impersonations, "impersonations");
    add(machine.Subscriptions(), "subscriptions");
    if (const long blocks = ComMemory::Blocks(); blocks != m_comBlocks)
    {
        left += std::to_string(blocks - m_comBlocks) + " blocks of COM memory\n";
        m_comBlocks = blocks;
    }
    return left;
}

} // namespace Zv::Testing
