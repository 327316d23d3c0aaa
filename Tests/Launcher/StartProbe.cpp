// Loads the module on a platform that reports a version and has presence functions of the tests' choice, asks for the
// user's token, and prints what the module did.
//   usage: StartProbe VERSION FUNCTIONS [ANSWER [STATUS]]
//          StartProbe simulate present|absent
//     VERSION    major version that RtlGetVersion gives; "own" leaves everything to the platform
//     FUNCTIONS  both, plain, ex, none, or no-ntdll
//     ANSWER     what the presence functions report: 1 present (default), 0 absent
//     STATUS     their result, hexadecimal (default 0)
//     simulate   a simulated user session is attached, whose machine has the session API set or not
#include "Interception/ImportTable.h"
#include "Interception/LoadWatch.h"
#include "Interception/ModuleExports.h"
#include "Logging/Logging.h"
#include "Platform/Windows/WindowsDeclarations.h"
#include "Services/Launcher/Launcher.h"
#include "Simulator/User/UserSession.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Transcript.h"
#include "Tests/Support/Watchdog.h"

#include <winternl.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace
{

using namespace Zv;

struct Platform
{
    ULONG version = 0;
    std::string functions;
    BOOLEAN present = TRUE;
    NTSTATUS status = 0;
};
Platform g_platform;
std::vector<Interception::Redirection> g_redirections;
decltype(&GetProcAddress) g_getProcAddress = nullptr;
decltype(&GetModuleHandleW) g_getModuleHandle = nullptr;
decltype(&RtlGetVersion) g_getVersion = nullptr;

void Say(const std::string& line)
{
    std::printf("%s\n", line.c_str());
}

std::string TextOf(const UNICODE_STRING* name)
{
    return Testing::Narrow({name->Buffer, name->Length / sizeof(wchar_t)}) + "\" of " +
           std::to_string(name->MaximumLength) + " bytes";
}

NTSTATUS NTAPI IsPresent(const UNICODE_STRING* name, BOOLEAN* present)
{
    Say("ApiSetQueryApiSetPresence(\"" + TextOf(name) + ")");
    *present = g_platform.present;
    return g_platform.status;
}

NTSTATUS NTAPI IsPresentEx(const UNICODE_STRING* name, BOOLEAN* inSchema, BOOLEAN* present)
{
    Say("ApiSetQueryApiSetPresenceEx(\"" + TextOf(name) + ")");
    *inSchema = !g_platform.present; // not what decides
    *present = g_platform.present;
    return g_platform.status;
}

LONG NTAPI GetVersion(RTL_OSVERSIONINFOW* version)
{
    const ULONG size = version->dwOSVersionInfoSize;
    const LONG status = g_getVersion(version);
    if (g_platform.version != 0)
    {
        version->dwMajorVersion = g_platform.version;
    }
    Say("RtlGetVersion(" + std::to_string(size) + ") = " + std::to_string(version->dwMajorVersion));
    return status;
}

FARPROC WINAPI FindFunction(HMODULE module, const char* name)
{
    if (reinterpret_cast<std::uintptr_t>(name) <= 0xFFFF || std::strncmp(name, "ApiSet", 6) != 0)
    {
        return g_getProcAddress(module, name); // the run time's own
    }
    Say(std::string{"GetProcAddress("} + (module == GetModuleHandleW(L"ntdll.dll") ? "ntdll" : "?") + ", " + name +
        ")");
    if (g_platform.version == 0)
    {
        return g_getProcAddress(module, name);
    }
    const bool ex = std::strcmp(name, "ApiSetQueryApiSetPresenceEx") == 0;
    if (g_platform.functions != "both" && g_platform.functions != (ex ? "ex" : "plain"))
    {
        return nullptr;
    }
    return ex ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&IsPresentEx))
              : reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&IsPresent));
}

HMODULE WINAPI FindModule(const wchar_t* name)
{
    if (name != nullptr && lstrcmpiW(name, L"ntdll.dll") == 0)
    {
        Say("GetModuleHandleW(ntdll.dll)");
        return g_platform.functions == "no-ntdll" ? nullptr : g_getModuleHandle(name);
    }
    return g_getModuleHandle(name);
}

DWORD WINAPI NobodyAtTheConsole()
{
    return 0xFFFFFFFF;
}

void Redirect(HMODULE module)
{
    const Interception::ImportTable imports{module};
    g_redirections.push_back(imports.Redirect(nullptr, "WTSGetActiveConsoleSessionId", &NobodyAtTheConsole));
    const auto watch = [&imports]<class Function>(const char* name, Function* replacement) {
        g_redirections.push_back(imports.Redirect(nullptr, name, replacement));
        return g_redirections.back().Original<Function*>();
    };
    g_getVersion = watch("RtlGetVersion", &GetVersion);
    g_getProcAddress = watch("GetProcAddress", &FindFunction);
    g_getModuleHandle = watch("GetModuleHandleW", &FindModule);
}

void Run(const std::function<void(HMODULE)>& attach)
{
    const Testing::Watchdog watchdog{"the start probe"};
    bool seen = false;
    Interception::LoadWatch watch{L"WMIService.dll", [&](HMODULE module) {
                                      seen = true;
                                      attach(module);
                                  }};
    Say("load");
    const Testing::Module module;
    watch.Rethrow();
    if (!seen)
    {
        Say("the load went unseen");
        return;
    }
    Interception::BindModuleExports(module.Handle());
    Logging::LogManager::SetProvider(L"the probe's");
    const Testing::Transcript transcript;
    Say("call");
    const bool token = Tessel::Server::Services::Launcher{}.GetUserTokenForCurrentUser(TokenImpersonation) != nullptr;
    for (const Testing::LogLine& line : transcript.Log())
    {
        Say(Testing::Narrow(Testing::Describe(line)));
    }
    Say(token ? "a token" : "no token");
    std::fflush(stdout);
    g_redirections.clear(); // while the module is there
}

void RunSimulated(bool hasSessionApi)
{
    Simulator::Description machine;
    machine.session.signedIn = true;
    machine.session.sessionApi = hasSessionApi;
    std::optional<Simulator::UserSession> session{std::in_place, machine};
    Run([&session](HMODULE module) { session->Attach(module); });
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        if (argc < 3)
        {
            return 2;
        }
        if (std::strcmp(argv[1], "simulate") == 0)
        {
            RunSimulated(std::strcmp(argv[2], "present") == 0);
            return 0;
        }
        g_platform.version = std::strcmp(argv[1], "own") == 0 ? 0 : static_cast<ULONG>(std::stoul(argv[1]));
        g_platform.functions = argv[2];
        if (argc > 3)
        {
            g_platform.present = std::strcmp(argv[3], "1") == 0;
        }
        if (argc > 4)
        {
            g_platform.status = static_cast<NTSTATUS>(std::stoul(argv[4], nullptr, 16));
        }
        Run(&Redirect);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::printf("%s\n", error.what());
        return 1;
    }
}
