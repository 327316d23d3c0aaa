// A host that starts the module's hotkeys on a simulated notebook and then comes to its end in one of several ways.
//   usage: HotkeyProbe SCENARIO        the scenarios stand in the table at the end
// It prints what a host can see and ends with exit code 0; that it ends is what the tests want to know.
#include "Interception/ImportTable.h"
#include "Logging/Logging.h"
#include "Platform/Windows/WindowsDeclarations.h"
#include "Services/ZVService.h"
#include "Simulator/Machine.h"
#include "Simulator/User/UserSession.h"
#include "Tests/Support/Counter.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Watchdog.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace
{

using namespace Zv;
using Tessel::Server::Services::ZVCreateServiceFunction;
using Tessel::Server::Services::ZVCreateServiceName;
using Tessel::Server::Services::ZVService;

constexpr wchar_t ModuleName[] = L"WMIService.dll";
constexpr int LumashadeKey = 20;
constexpr int LumashadePress = 0xFF0000;

void Say(const char* text)
{
    std::puts(text);
    std::fflush(stdout);
}

// Everything that the module calls into. Never destroyed: the module's threads use it until the process is gone.
struct Stage
{
    explicit Stage(HMODULE library)
        : module{library},
          machine{Simulator::Machine::Load(ZV_MACHINES "/notebook.json")},
          user{machine.GetDescription(), {.onStart = [this](const Simulator::StartedProcess&) { Started(); }}}
    {
        self = this;
        user.Attach(module);
        Redirect("CoCreateInstance", CreateInstance);
        Redirect("RpcServerInqCallAttributesW", NoRemoteCall);
    }

    template <class Function>
    void Redirect(const char* name, Function* replacement)
    {
        redirections.push_back(Interception::ImportTable{module}.Redirect(nullptr, name, replacement));
    }

    static HRESULT WINAPI CreateInstance(REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** result)
    {
        return self->machine.CreateInstance(id, outer, context, iid, result);
    }
    static RPC_STATUS RPC_ENTRY NoRemoteCall(RPC_BINDING_HANDLE, void*) { return RPC_S_NO_CALL_ACTIVE; }
    static BOOL WINAPI NoModuleHandle(DWORD, const wchar_t*, HMODULE*)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    static BOOL WINAPI NoPin(DWORD flags, const wchar_t* address, HMODULE* result)
    {
        return (flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0 ? NoModuleHandle(flags, address, result)
                                                            : GetModuleHandleExW(flags, address, result);
    }
    static std::uintptr_t NoThread(void*, unsigned int, unsigned int(__stdcall*)(void*), void*, unsigned int,
                                   unsigned int*)
    {
        return 0;
    }

    void Started()
    {
        launches.Add();
        if (holdLaunches)
        {
            Testing::Counter never;
            never.WaitFor(1);
        }
    }

    void Press() { machine.FireEvent(LumashadeKey, LumashadePress); }

    void WaitForListeners() const
    {
        if (!machine.WaitForSubscriptions(5, std::chrono::seconds{20}))
        {
            Say("the listeners do not come");
            std::exit(1);
        }
    }

    static inline Stage* self = nullptr;
    HMODULE module;
    Simulator::Machine machine;
    Simulator::UserSession user;
    Testing::Counter launches;
    bool holdLaunches = false;
    std::vector<Interception::Redirection> redirections;
};

struct Host
{
    Host()
        : library{LoadLibraryW((Testing::ModuleFolder() / ModuleName).c_str())},
          stage{new Stage{library}},
          service{reinterpret_cast<ZVCreateServiceFunction*>(
              reinterpret_cast<void*>(GetProcAddress(library, ZVCreateServiceName)))()}
    {
    }

    void Start() { service->startup_task(); }
    void StartAndWait()
    {
        Start();
        stage->WaitForListeners();
    }

    // The host gives everything back and says whether the module has gone.
    void Unload()
    {
        service.reset();
        stage->redirections.clear();
        FreeLibrary(library);
        Say(GetModuleHandleW(ModuleName) != nullptr ? "still loaded" : "unloaded");
    }

    HMODULE library;
    Stage* stage;
    std::unique_ptr<ZVService> service;
};

void ReturnArmed(Host& host)
{
    host.StartAndWait();
}

void FreeArmed(Host& host, int times)
{
    host.StartAndWait();
    host.stage->Press();
    host.stage->launches.WaitFor(1);
    host.service.reset();
    for (int n = 0; n < times; ++n)
    {
        FreeLibrary(host.library);
    }
    Say(GetModuleHandleW(ModuleName) != nullptr ? "still loaded" : "unloaded");
    host.stage->Press();
    host.stage->launches.WaitFor(2);
    Say("the key still works");
}

void UnloadArmed(Host& host)
{
    FreeArmed(host, 8); // more often than it was loaded, and than it has threads
}

void UnloadUnpinned(Host& host)
{
    host.stage->Redirect("GetModuleHandleExW", Stage::NoPin);
    FreeArmed(host, 1);
}

void UnloadUnstarted(Host& host)
{
    host.Unload();
}

void UnloadUnkept(Host& host)
{
    host.stage->Redirect("GetModuleHandleExW", Stage::NoModuleHandle);
    host.Start();
    host.Unload();
}

void UnloadWithoutThreads(Host& host)
{
    host.stage->Redirect("_beginthreadex", Stage::NoThread);
    host.Start();
    host.Unload();
}

void ReturnInCallback(Host& host)
{
    host.stage->holdLaunches = true;
    host.StartAndWait();
    host.stage->Press();
    host.stage->launches.WaitFor(1);
}

void ReturnWithBlockedProducers(Host& host)
{
    ReturnInCallback(host);
    for (int n = 0; n < 2; ++n)
    {
        new std::thread{[&host] { host.stage->Press(); }}; // sits at the mailbox until the process is gone
    }
    Sleep(50); // nothing tells that they do; an end before that is the scenario above
}

void ReturnInSetUp(Host& host)
{
    host.stage->machine.AddFault({Simulator::Site::LocatorConnectServer, L"", 2, 0, S_OK, 0, true});
    host.Start();
    while (host.stage->machine.CallCount(Simulator::Site::LocatorConnectServer) < 6)
    {
        Sleep(1);
    }
}

void ExitOnAnotherThread(Host& host)
{
    host.StartAndWait();
    std::thread{[] { ExitProcess(0); }}.join();
}

void ExitAtOnce(Host& host)
{
    host.Start(); // the threads may be anywhere
}

void ReturnFlooded(Host& host)
{
    host.StartAndWait();
    for (int n = 0; n < 3; ++n)
    {
        host.stage->machine.PostEvent(LumashadeKey, LumashadePress);
    }
    auto* const firmware = new std::vector<std::thread>; // runs until the process is gone
    for (const int id : {LumashadeKey, 3, 21, 0x20001})
    {
        firmware->emplace_back([&host, id] {
            for (;;)
            {
                host.stage->machine.FireEvent(id, LumashadePress);
            }
        });
    }
    host.stage->launches.WaitFor(50);
}

void ReturnWhileAClientListens(Host& host)
{
    host.StartAndWait();
    wchar_t clientId[] = L"client";
    void* session = nullptr;
    host.service->StartSession(clientId, &session);
    auto* const client =
        new std::thread{[&host, session] { Testing::Run(host.service.get(), session, 4, L"{\"filterEvent\":7}"); }};
    static_cast<void>(client);
    static_cast<void>(host.stage->machine.WaitForSubscriptions(6, std::chrono::seconds{20}));
}

struct Scenario
{
    std::string_view name;
    void (*play)(Host&);
};

constexpr Scenario Scenarios[] = {
    {"return-armed", ReturnArmed},
    {"unload-armed", UnloadArmed},
    {"unload-unstarted", UnloadUnstarted},
    {"unload-unkept", UnloadUnkept},
    {"unload-unpinned", UnloadUnpinned},
    {"unload-without-threads", UnloadWithoutThreads},
    {"return-in-callback", ReturnInCallback},
    {"return-with-blocked-producers", ReturnWithBlockedProducers},
    {"return-in-set-up", ReturnInSetUp},
    {"exit-on-another-thread", ExitOnAnotherThread},
    {"exit-at-once", ExitAtOnce},
    {"return-flooded", ReturnFlooded},
    {"return-while-a-client-listens", ReturnWhileAClientListens},
};

} // namespace

int main(int argc, char** argv)
{
    for (const Scenario& scenario : Scenarios)
    {
        if (argc == 2 && scenario.name == argv[1])
        {
            Logging::LogManager::SetProvider(L"the host's");
            auto* const host = new Host; // as the stage
            scenario.play(*host);
            Say("the end");
            return 0;
        }
    }
    Say("no such scenario");
    return 1;
}
