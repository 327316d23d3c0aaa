// What the calls of one simulated user session work on.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Simulator/User/PackageStore.h"
#include "Simulator/User/UserEnvironment.h"
#include "Simulator/User/UserSession.h"

#include <windows.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Zv::Simulator
{

// Each operation answers the platform function of the same name. Safe on several threads; the platform is called, and
// onStart is, without the lock.
class UserSessionState
{
public:
    UserSessionState(const Description& description, UserSessionOptions options);

    [[nodiscard]] DWORD WTSGetActiveConsoleSessionId() const noexcept { return m_session.id; }
    BOOL WTSQueryUserToken(ULONG sessionId, HANDLE* token);
    BOOL DuplicateTokenEx(HANDLE token, DWORD access, SECURITY_ATTRIBUTES* attributes,
                          SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, HANDLE* duplicate);
    BOOL ImpersonateLoggedOnUser(HANDLE token);
    BOOL RevertToSelf();
    BOOL CloseHandle(HANDLE handle);

    BOOL ExpandEnvironmentStringsForUserW(HANDLE token, const wchar_t* text, wchar_t* buffer, DWORD size);
    BOOL CreateEnvironmentBlock(void** block, HANDLE token, BOOL inherit);
    BOOL DestroyEnvironmentBlock(void* block);

    LONG FindPackagesByPackageFamily(PCWSTR family, UINT32 filters, UINT32* count, PWSTR* names, UINT32* length,
                                     WCHAR* buffer, UINT32* properties);
    LONG GetPackagePathByFullName(PCWSTR fullName, UINT32* length, PWSTR path);
    LONG GetStagedPackageOrigin(PCWSTR fullName, PackageOrigin* origin);
    LONG OpenPackageInfoByFullName(PCWSTR fullName, UINT32 reserved, PACKAGE_INFO_REFERENCE* reference);
    LONG GetPackageInfo(PACKAGE_INFO_REFERENCE reference, UINT32 filters, UINT32* length, BYTE* buffer, UINT32* count);
    LONG ClosePackageInfo(PACKAGE_INFO_REFERENCE reference);

    BOOL CreateProcessAsUserW(HANDLE token, const wchar_t* application, wchar_t* commandLine,
                              SECURITY_ATTRIBUTES* process, SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags,
                              void* environment, const wchar_t* directory, STARTUPINFOW* startup,
                              PROCESS_INFORMATION* information);

    // Whether the machine has the session API set.
    [[nodiscard]] bool HasSessionApi() const noexcept { return m_session.sessionApi; }

    [[nodiscard]] std::vector<StartedProcess> Started() const;
    [[nodiscard]] OutstandingOfUser Outstanding() const;

private:
    [[nodiscard]] bool IsUsersToken(HANDLE token) const;
    [[nodiscard]] bool ActsAsUser() const;
    [[nodiscard]] const UserEnvironment& Environment();
    // The package behind the path of an execution alias in the user's profile; null for any other path.
    [[nodiscard]] const Package* PackageOfAlias(const wchar_t* application) const;
    BOOL Pretend(PROCESS_INFORMATION& information);
    void Note(StartedProcess started, const PROCESS_INFORMATION& information);

    const Session& m_session;
    const PackageStore m_packages;
    const UserSessionOptions m_options;

    mutable Tessel::Server::Shared::Lock m_lock;
    // All guarded by m_lock.
    std::optional<UserEnvironment> m_environment; // made when first needed: the loader's lock may be held before
    std::set<HANDLE> m_tokens;
    std::set<HANDLE> m_processHandles;
    std::set<DWORD> m_impersonating; // threads
    std::map<const void*, std::unique_ptr<std::wstring>> m_blocks;
    std::map<PACKAGE_INFO_REFERENCE, std::unique_ptr<PackageStore::Found>> m_infos; // by the address of what is found
    DWORD m_lastPretendedId = 0x40000000; // far from the ids of real processes
    std::vector<StartedProcess> m_started;
};

} // namespace Zv::Simulator
