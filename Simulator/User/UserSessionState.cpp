#include "Simulator/User/UserSessionState.h"

#include "Platform/Windows/Handle.h"

#include <algorithm>
#include <cwchar>
#include <utility>

namespace Zv::Simulator
{

using Tessel::Server::Shared::Handle;
using Tessel::Server::Shared::LockGuard;

namespace
{

constexpr wchar_t AliasFolder[] = L"\\AppData\\Local\\Microsoft\\WindowsApps\\";

BOOL Refuse(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

// A token of the user who runs this program.
Handle OwnToken()
{
    HANDLE token = nullptr;
    return Handle{OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &token) != FALSE ? token : nullptr};
}

} // namespace

UserSessionState::UserSessionState(const Description& description, UserSessionOptions options)
    : m_session{description.session},
      m_packages{description.packages},
      m_options{std::move(options)}
{
}

bool UserSessionState::IsUsersToken(HANDLE token) const
{
    const LockGuard guard{m_lock};
    return m_tokens.contains(token);
}

bool UserSessionState::ActsAsUser() const
{
    const LockGuard guard{m_lock};
    return m_impersonating.contains(GetCurrentThreadId());
}

BOOL UserSessionState::WTSQueryUserToken(ULONG sessionId, HANDLE* token)
{
    if (sessionId != m_session.id)
    {
        return Refuse(ERROR_FILE_NOT_FOUND);
    }
    if (!m_session.signedIn)
    {
        return Refuse(ERROR_NO_TOKEN);
    }
    HANDLE own = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &own) == FALSE)
    {
        return FALSE;
    }
    *token = own;
    const LockGuard guard{m_lock};
    m_tokens.insert(own);
    return TRUE;
}

BOOL UserSessionState::DuplicateTokenEx(HANDLE token, DWORD access, SECURITY_ATTRIBUTES* attributes,
                                        SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, HANDLE* duplicate)
{
    if (::DuplicateTokenEx(token, access, attributes, level, type, duplicate) == FALSE)
    {
        return FALSE;
    }
    const LockGuard guard{m_lock};
    m_tokens.insert(*duplicate);
    return TRUE;
}

BOOL UserSessionState::ImpersonateLoggedOnUser(HANDLE token)
{
    if (::ImpersonateLoggedOnUser(token) == FALSE)
    {
        return FALSE;
    }
    const LockGuard guard{m_lock};
    if (m_tokens.contains(token))
    {
        m_impersonating.insert(GetCurrentThreadId());
    }
    return TRUE;
}

BOOL UserSessionState::RevertToSelf()
{
    {
        const LockGuard guard{m_lock};
        m_impersonating.erase(GetCurrentThreadId());
    }
    return ::RevertToSelf();
}

BOOL UserSessionState::CloseHandle(HANDLE handle)
{
    {
        const LockGuard guard{m_lock}; // before the handle's number can be used anew
        m_tokens.erase(handle);
        m_processHandles.erase(handle);
    }
    return ::CloseHandle(handle);
}

const UserEnvironment& UserSessionState::Environment()
{
    {
        const LockGuard guard{m_lock};
        if (m_environment)
        {
            return *m_environment; // which stays as it is from then on
        }
    }
    const Handle own = OwnToken();
    UserEnvironment environment{m_session, own.Get()};
    const LockGuard guard{m_lock};
    if (!m_environment)
    {
        m_environment.emplace(std::move(environment));
    }
    return *m_environment;
}

BOOL UserSessionState::ExpandEnvironmentStringsForUserW(HANDLE token, const wchar_t* text, wchar_t* buffer, DWORD size)
{
    if (text == nullptr || buffer == nullptr || size == 0)
    {
        return Refuse(ERROR_INVALID_PARAMETER);
    }
    if (!IsUsersToken(token))
    {
        return Refuse(ERROR_INVALID_HANDLE);
    }
    const std::wstring expanded = Environment().Expand(text);
    if (expanded.size() >= size)
    {
        return Refuse(ERROR_INSUFFICIENT_BUFFER);
    }
    std::copy_n(expanded.c_str(), expanded.size() + 1, buffer);
    return TRUE;
}

BOOL UserSessionState::CreateEnvironmentBlock(void** block, HANDLE token, BOOL inherit)
{
    if (!IsUsersToken(token))
    {
        return Refuse(ERROR_INVALID_HANDLE);
    }
    if (inherit != FALSE)
    {
        return Refuse(ERROR_NOT_SUPPORTED);
    }
    auto text = std::make_unique<std::wstring>(Environment().Block());
    *block = text->data();
    const LockGuard guard{m_lock};
    m_blocks.emplace(*block, std::move(text));
    return TRUE;
}

BOOL UserSessionState::DestroyEnvironmentBlock(void* block)
{
    const LockGuard guard{m_lock};
    return m_blocks.erase(block) != 0 ? TRUE : Refuse(ERROR_INVALID_PARAMETER);
}

LONG UserSessionState::FindPackagesByPackageFamily(PCWSTR family, UINT32 filters, UINT32* count, PWSTR* names,
                                                   UINT32* length, WCHAR* buffer, UINT32* properties)
{
    return m_packages.FindByFamily(ActsAsUser() ? family : L"", filters, count, names, length, buffer, properties);
}

LONG UserSessionState::GetPackagePathByFullName(PCWSTR fullName, UINT32* length, PWSTR path)
{
    return m_packages.PathOf(ActsAsUser() ? fullName : L"", length, path);
}

LONG UserSessionState::GetStagedPackageOrigin(PCWSTR fullName, PackageOrigin* origin)
{
    return m_packages.OriginOf(fullName, origin); // of the machine, not of a user
}

LONG UserSessionState::OpenPackageInfoByFullName(PCWSTR fullName, UINT32 reserved, PACKAGE_INFO_REFERENCE* reference)
{
    if (fullName == nullptr || reserved != 0 || reference == nullptr)
    {
        return ERROR_INVALID_PARAMETER;
    }
    auto found =
        std::make_unique<PackageStore::Found>(ActsAsUser() ? m_packages.Find(fullName) : PackageStore::Found{});
    if (found->name == nullptr)
    {
        return ERROR_NOT_FOUND;
    }
    *reference = reinterpret_cast<PACKAGE_INFO_REFERENCE>(found.get());
    const LockGuard guard{m_lock};
    m_infos.emplace(*reference, std::move(found));
    return ERROR_SUCCESS;
}

LONG UserSessionState::GetPackageInfo(PACKAGE_INFO_REFERENCE reference, UINT32 filters, UINT32* length, BYTE* buffer,
                                      UINT32* count)
{
    PackageStore::Found found;
    {
        const LockGuard guard{m_lock};
        if (const auto open = m_infos.find(reference); open != m_infos.end())
        {
            found = *open->second;
        }
    }
    return PackageStore::InfoOf(found, filters, length, buffer, count);
}

LONG UserSessionState::ClosePackageInfo(PACKAGE_INFO_REFERENCE reference)
{
    const LockGuard guard{m_lock};
    return m_infos.erase(reference) != 0 ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

const Package* UserSessionState::PackageOfAlias(const wchar_t* application) const
{
    const std::wstring_view path = application != nullptr ? application : L"";
    const std::wstring folder = m_session.profile + AliasFolder;
    return path.size() > folder.size() && EqualNoCase(path.substr(0, folder.size()), folder)
               ? m_packages.FindAlias(path.substr(folder.size()))
               : nullptr;
}

BOOL UserSessionState::CreateProcessAsUserW(HANDLE token, const wchar_t* application, wchar_t* commandLine,
                                            SECURITY_ATTRIBUTES* process, SECURITY_ATTRIBUTES* thread, BOOL inherit,
                                            DWORD flags, void* environment, const wchar_t* directory,
                                            STARTUPINFOW* startup, PROCESS_INFORMATION* information)
{
    if (!IsUsersToken(token))
    {
        return Refuse(ERROR_INVALID_HANDLE);
    }
    const Package* const package = PackageOfAlias(application);
    if (package == nullptr)
    {
        return Refuse(ERROR_FILE_NOT_FOUND);
    }
    StartedProcess started;
    started.application = application;
    started.commandLine = commandLine != nullptr ? commandLine : L"";
    started.directory = directory != nullptr ? directory : L"";
    started.flags = flags;
    started.inheritsHandles = inherit != FALSE;
    for (const auto* entry = static_cast<const wchar_t*>(environment); entry != nullptr && *entry != L'\0';
         entry += wcslen(entry) + 1)
    {
        started.environment.emplace_back(entry);
    }

    const bool real = m_options.launchForReal && !package->executable.empty();
    if (real)
    {
        started.program = package->executable;
    }
    const BOOL created = real ? ::CreateProcessAsUserW(token, started.program.c_str(), commandLine, process, thread,
                                                       inherit, flags, environment, directory, startup, information)
                              : Pretend(*information);
    if (created != FALSE)
    {
        Note(std::move(started), *information);
    }
    return created;
}

BOOL UserSessionState::Pretend(PROCESS_INFORMATION& information)
{
    // Any kernel object does where a handle is wanted that can be closed.
    HANDLE process = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    HANDLE thread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    if (process == nullptr || thread == nullptr)
    {
        const Handle processOwner{process};
        const Handle threadOwner{thread};
        return FALSE;
    }
    const LockGuard guard{m_lock};
    m_lastPretendedId += 8;
    information = {process, thread, m_lastPretendedId, m_lastPretendedId + 4};
    return TRUE;
}

void UserSessionState::Note(StartedProcess started, const PROCESS_INFORMATION& information)
{
    started.processId = information.dwProcessId;
    HANDLE own = nullptr;
    if (!started.program.empty() && DuplicateHandle(GetCurrentProcess(), information.hProcess, GetCurrentProcess(),
                                                    &own, 0, FALSE, DUPLICATE_SAME_ACCESS) != FALSE)
    {
        started.process = {own, [](void* handle) { ::CloseHandle(handle); }};
    }
    {
        const LockGuard guard{m_lock};
        m_processHandles.insert(information.hProcess);
        m_processHandles.insert(information.hThread);
        m_started.push_back(started);
    }
    if (m_options.onStart)
    {
        m_options.onStart(started);
    }
}

std::vector<StartedProcess> UserSessionState::Started() const
{
    const LockGuard guard{m_lock};
    return m_started;
}

OutstandingOfUser UserSessionState::Outstanding() const
{
    const LockGuard guard{m_lock};
    return {m_tokens.size(), m_blocks.size(), m_infos.size(), m_processHandles.size(), m_impersonating.size()};
}

} // namespace Zv::Simulator
