#include "Tests/Hotkeys/ConsoleUser.h"

#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/Support/FillText.h"
#include "Tests/Support/Text.h"

#include <userenv.h>
#include <wtsapi32.h>

#include <algorithm>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

constexpr wchar_t Profile[] = L"C:\\Users\\ann";
constexpr wchar_t ProfileVariable[] = L"%userprofile%";

std::wstring FullName(const std::wstring& family)
{
    return family + L" full name";
}

std::wstring Folder(const std::wstring& fullName)
{
    return L"C:\\Program Files\\" + fullName;
}

std::wstring Alias(const std::wstring& exeName)
{
    return Profile + std::wstring{L"\\AppData\\Local\\Microsoft\\WindowsApps\\"} + exeName;
}

// A handle that the module can close: of an object that nobody else has.
HANDLE AnyHandle()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

} // namespace

void PrintTo(const Launch& launch, std::ostream* stream)
{
    *stream << Narrow(launch.application) << " [" << Narrow(launch.commandLine) << "] in " << Narrow(launch.folder);
}

Launch LumashadeLaunch()
{
    return {Alias(L"Lumashade.exe"), Alias(L"Lumashade.exe"), Folder(FullName(LumashadeFamily))};
}

Launch ChimeboxLaunch(const std::wstring& argument)
{
    return {Alias(L"ChimeboxUWP.exe"), L" " + argument, Folder(FullName(ChimeboxFamily))};
}

ConsoleUser::ConsoleUser(PlatformCalls& calls) : m_families{LumashadeFamily, ChimeboxFamily}
{
    AnswerTokens(calls);
    AnswerPackages(calls);
    AnswerProcesses(calls);
}

void ConsoleUser::Uninstall(const std::wstring& family)
{
    const LockGuard held{m_lock};
    m_families.erase(family);
}

std::vector<Launch> ConsoleUser::Launches() const
{
    const LockGuard held{m_lock};
    return m_launches;
}

void ConsoleUser::WaitForLaunches(std::size_t count)
{
    UniqueLock held{m_lock};
    m_changed.Wait(held, [&] { return m_launches.size() >= count; });
}

bool ConsoleUser::IsInstalled(const std::wstring& family) const
{
    const LockGuard held{m_lock};
    return m_families.contains(family);
}

void ConsoleUser::AnswerTokens(PlatformCalls& calls)
{
    calls.Replace<"WTSGetActiveConsoleSessionId", decltype(WTSGetActiveConsoleSessionId)>([]() -> DWORD { return 3; });
    calls.Replace<"WTSQueryUserToken", BOOL(ULONG, HANDLE*)>([](ULONG, HANDLE* token) -> BOOL {
        *token = AnyHandle();
        return TRUE;
    });
    calls.Replace<"DuplicateTokenEx", decltype(DuplicateTokenEx)>(
        [](HANDLE, DWORD, SECURITY_ATTRIBUTES*, SECURITY_IMPERSONATION_LEVEL, TOKEN_TYPE, HANDLE* duplicate) -> BOOL {
            *duplicate = AnyHandle();
            return TRUE;
        });
    calls.Replace<"ImpersonateLoggedOnUser", decltype(ImpersonateLoggedOnUser)>(
        [](HANDLE token) -> BOOL { return token != nullptr && token != INVALID_HANDLE_VALUE; });
    calls.Replace<"RevertToSelf", decltype(RevertToSelf)>([]() -> BOOL { return TRUE; });
    calls.Replace<"ExpandEnvironmentStringsForUserW", decltype(ExpandEnvironmentStringsForUserW)>(
        [](HANDLE, const wchar_t* path, wchar_t* buffer, DWORD) -> BOOL {
            std::wstring expanded = path;
            if (expanded.starts_with(ProfileVariable))
            {
                expanded.replace(0, wcslen(ProfileVariable), Profile);
            }
            std::copy_n(expanded.c_str(), expanded.size() + 1, buffer);
            return TRUE;
        });
}

void ConsoleUser::AnswerPackages(PlatformCalls& calls)
{
    calls.Replace<"FindPackagesByPackageFamily", decltype(FindPackagesByPackageFamily)>(
        [this](PCWSTR family, UINT32, UINT32* count, PWSTR* names, UINT32* length, WCHAR* buffer,
               UINT32* properties) -> LONG {
            if (!IsInstalled(family))
            {
                *count = 0;
                *length = 0;
                return ERROR_SUCCESS;
            }
            *count = 1;
            const LONG result = FillText(FullName(family), length, buffer);
            if (result == ERROR_SUCCESS)
            {
                *names = buffer;
                *properties = 0;
            }
            return result;
        });
    calls.Replace<"GetPackagePathByFullName", decltype(GetPackagePathByFullName)>(
        [](PCWSTR fullName, UINT32* length, PWSTR path) -> LONG { return FillText(Folder(fullName), length, path); });
}

void ConsoleUser::AnswerProcesses(PlatformCalls& calls)
{
    calls.Replace<"CreateEnvironmentBlock", decltype(CreateEnvironmentBlock)>(
        [this](void** block, HANDLE, BOOL) -> BOOL {
            *block = m_environment;
            return TRUE;
        });
    calls.Replace<"DestroyEnvironmentBlock", decltype(DestroyEnvironmentBlock)>([](void*) -> BOOL { return TRUE; });
    calls.Replace<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)>(
        [this](HANDLE, const wchar_t* application, wchar_t* commandLine, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
               BOOL, DWORD, void*, const wchar_t* folder, STARTUPINFOW*, PROCESS_INFORMATION* process) -> BOOL {
            *process = {AnyHandle(), AnyHandle(), 1, 1};
            const LockGuard held{m_lock};
            m_launches.push_back({application, commandLine, folder});
            m_changed.NotifyAll();
            return TRUE;
        });
}

} // namespace Zv::Testing
