#include "Simulator/User/UserSession.h"

#include "Interception/ImportTable.h"
#include "Platform/Windows/Lock.h"
#include "Simulator/User/UserSessionState.h"

#include <userenv.h>
#include <winternl.h>
#include <wtsapi32.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Zv::Simulator
{

using Tessel::Server::Shared::Lock;
using Tessel::Server::Shared::LockGuard;

namespace
{

Lock g_lock;
std::shared_ptr<UserSessionState> g_current; // guarded by g_lock; what redirected calls go to

std::shared_ptr<UserSessionState> Current()
{
    const LockGuard guard{g_lock};
    return g_current;
}

// Answers a call from the session that lives now. A call that comes in just when the session goes, between its import
// slot and here, goes to `otherwise`. No exception may get into the module: without memory the program ends.
template <class Answer, class Otherwise>
auto Ask(Answer answer, Otherwise otherwise) noexcept
{
    const std::shared_ptr<UserSessionState> session = Current();
    return session != nullptr ? answer(*session) : otherwise();
}

LONG NoPackages()
{
    return ERROR_NOT_SUPPORTED;
}

DWORD WINAPI ActiveConsoleSessionId()
{
    return Ask([](const UserSessionState& session) { return session.WTSGetActiveConsoleSessionId(); },
               [] { return WTSGetActiveConsoleSessionId(); });
}

BOOL WINAPI QueryUserToken(ULONG sessionId, HANDLE* token)
{
    return Ask([&](UserSessionState& session) { return session.WTSQueryUserToken(sessionId, token); },
               [] { return FALSE; });
}

BOOL WINAPI DuplicateToken(HANDLE token, DWORD access, SECURITY_ATTRIBUTES* attributes,
                           SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, HANDLE* duplicate)
{
    return Ask(
        [&](UserSessionState& session) {
            return session.DuplicateTokenEx(token, access, attributes, level, type, duplicate);
        },
        [&] { return DuplicateTokenEx(token, access, attributes, level, type, duplicate); });
}

BOOL WINAPI Impersonate(HANDLE token)
{
    return Ask([&](UserSessionState& session) { return session.ImpersonateLoggedOnUser(token); },
               [&] { return ImpersonateLoggedOnUser(token); });
}

BOOL WINAPI Revert()
{
    return Ask([](UserSessionState& session) { return session.RevertToSelf(); }, [] { return RevertToSelf(); });
}

BOOL WINAPI Close(HANDLE handle)
{
    return Ask([&](UserSessionState& session) { return session.CloseHandle(handle); },
               [&] { return CloseHandle(handle); });
}

BOOL WINAPI ExpandForUser(HANDLE token, LPCWSTR text, LPWSTR buffer, DWORD size)
{
    return Ask(
        [&](UserSessionState& session) { return session.ExpandEnvironmentStringsForUserW(token, text, buffer, size); },
        [&] { return ExpandEnvironmentStringsForUserW(token, text, buffer, size); });
}

BOOL WINAPI CreateBlock(void** block, HANDLE token, BOOL inherit)
{
    return Ask([&](UserSessionState& session) { return session.CreateEnvironmentBlock(block, token, inherit); },
               [] { return FALSE; });
}

BOOL WINAPI DestroyBlock(void* block)
{
    return Ask([&](UserSessionState& session) { return session.DestroyEnvironmentBlock(block); }, [] { return FALSE; });
}

LONG WINAPI FindPackages(PCWSTR family, UINT32 filters, UINT32* count, PWSTR* names, UINT32* length, WCHAR* buffer,
                         UINT32* properties)
{
    return Ask(
        [&](UserSessionState& session) {
            return session.FindPackagesByPackageFamily(family, filters, count, names, length, buffer, properties);
        },
        &NoPackages);
}

LONG WINAPI PackagePath(PCWSTR fullName, UINT32* length, PWSTR path)
{
    return Ask([&](UserSessionState& session) { return session.GetPackagePathByFullName(fullName, length, path); },
               &NoPackages);
}

LONG WINAPI StagedOrigin(PCWSTR fullName, PackageOrigin* origin)
{
    return Ask([&](UserSessionState& session) { return session.GetStagedPackageOrigin(fullName, origin); },
               &NoPackages);
}

LONG WINAPI OpenInfo(PCWSTR fullName, UINT32 reserved, PACKAGE_INFO_REFERENCE* reference)
{
    return Ask(
        [&](UserSessionState& session) { return session.OpenPackageInfoByFullName(fullName, reserved, reference); },
        &NoPackages);
}

LONG WINAPI Info(PACKAGE_INFO_REFERENCE reference, UINT32 filters, UINT32* length, BYTE* buffer, UINT32* count)
{
    return Ask(
        [&](UserSessionState& session) { return session.GetPackageInfo(reference, filters, length, buffer, count); },
        &NoPackages);
}

LONG WINAPI CloseInfo(PACKAGE_INFO_REFERENCE reference)
{
    return Ask([&](UserSessionState& session) { return session.ClosePackageInfo(reference); }, &NoPackages);
}

BOOL WINAPI CreateProcessForUser(HANDLE token, LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                                 LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment,
                                 LPCWSTR directory, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information)
{
    return Ask(
        [&](UserSessionState& session) {
            return session.CreateProcessAsUserW(token, application, commandLine, process, thread, inherit, flags,
                                                environment, directory, startup, information);
        },
        [] { return FALSE; });
}

// The machine is a Windows 10; its presence functions know of the session API set what the description says, and of
// others what this system says.

LONG NTAPI Version(RTL_OSVERSIONINFOW* version)
{
    version->dwMajorVersion = 10;
    version->dwMinorVersion = 0;
    version->dwBuildNumber = 19045;
    version->dwPlatformId = VER_PLATFORM_WIN32_NT;
    return 0;
}

bool IsSessionApi(const UNICODE_STRING& contract)
{
    return EqualNoCase({contract.Buffer, contract.Length / sizeof(wchar_t)}, L"ext-ms-win-session-wtsapi32-l1-1-0");
}

BOOLEAN HasSessionApi()
{
    return Ask([](const UserSessionState& session) -> BOOLEAN { return session.HasSessionApi(); },
               []() -> BOOLEAN { return TRUE; });
}

template <class Function>
Function* FunctionOfNtdll(const char* name)
{
    return reinterpret_cast<Function*>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

constexpr char PresenceName[] = "ApiSetQueryApiSetPresence";
constexpr char PresenceExName[] = "ApiSetQueryApiSetPresenceEx";

NTSTATUS NTAPI Presence(const UNICODE_STRING* contract, BOOLEAN* present)
{
    if (IsSessionApi(*contract))
    {
        *present = HasSessionApi();
        return 0;
    }
    const auto own = FunctionOfNtdll<NTSTATUS NTAPI(const UNICODE_STRING*, BOOLEAN*)>(PresenceName);
    *present = FALSE;
    return own != nullptr ? own(contract, present) : 0;
}

NTSTATUS NTAPI PresenceEx(const UNICODE_STRING* contract, BOOLEAN* inSchema, BOOLEAN* present)
{
    *inSchema = TRUE;
    return Presence(contract, present);
}

FARPROC WINAPI FindFunction(HMODULE module, const char* name)
{
    const bool byName = reinterpret_cast<std::uintptr_t>(name) > 0xFFFF; // and not by number
    if (byName && std::strcmp(name, PresenceName) == 0)
    {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&Presence));
    }
    if (byName && std::strcmp(name, PresenceExName) == 0)
    {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&PresenceEx));
    }
    return GetProcAddress(module, name);
}

} // namespace

struct UserSession::Redirections
{
    std::vector<Interception::Redirection> all;
};

UserSession::UserSession(const Description& description, UserSessionOptions options)
    : m_state{std::make_shared<UserSessionState>(description, std::move(options))},
      m_redirections{std::make_unique<Redirections>()}
{
    const LockGuard guard{g_lock};
    if (g_current != nullptr)
    {
        throw std::logic_error{"there is a simulated user session already"};
    }
    g_current = m_state;
}

UserSession::~UserSession()
{
    m_redirections.reset();
    const LockGuard guard{g_lock};
    g_current.reset();
}

void UserSession::Attach(HMODULE module)
{
    const Interception::ImportTable imports{module};
    const auto redirect = [this, &imports]<class Function>(const char* name, Function* replacement) {
        m_redirections->all.push_back(imports.Redirect(nullptr, name, replacement));
    };

    redirect("RtlGetVersion", &Version);
    redirect("GetProcAddress", &FindFunction);
    redirect("WTSGetActiveConsoleSessionId", &ActiveConsoleSessionId);
    redirect("WTSQueryUserToken", &QueryUserToken);
    redirect("DuplicateTokenEx", &DuplicateToken);
    redirect("ImpersonateLoggedOnUser", &Impersonate);
    redirect("RevertToSelf", &Revert);
    redirect("CloseHandle", &Close);
    redirect("ExpandEnvironmentStringsForUserW", &ExpandForUser);
    redirect("CreateEnvironmentBlock", &CreateBlock);
    redirect("DestroyEnvironmentBlock", &DestroyBlock);
    redirect("FindPackagesByPackageFamily", &FindPackages);
    redirect("GetPackagePathByFullName", &PackagePath);
    redirect("GetStagedPackageOrigin", &StagedOrigin);
    redirect("OpenPackageInfoByFullName", &OpenInfo);
    redirect("GetPackageInfo", &Info);
    redirect("ClosePackageInfo", &CloseInfo);
    redirect("CreateProcessAsUserW", &CreateProcessForUser);
}

std::vector<StartedProcess> UserSession::Started() const
{
    return m_state->Started();
}

OutstandingOfUser UserSession::Outstanding() const
{
    return m_state->Outstanding();
}

} // namespace Zv::Simulator
