#include "Services/Launcher/Launcher.h"

#include "Platform/Windows/Handle.h"
#include "Services/Launcher/ApiSet.h"
#include "Services/Launcher/BufferText.h"
#include "Services/Launcher/EnvironmentBlock.h"
#include "Services/Launcher/Impersonation.h"
#include "Services/Launcher/InheritedHandles.h"

#include <userenv.h>
#include <wtsapi32.h>

#include <array>
#include <cstddef>
#include <new>
#include <optional>

// NOLINTBEGIN(performance-unnecessary-value-param): the exported operations take strings and tokens by value

namespace Zv::Tessel::Server::Services
{

namespace
{

constexpr wchar_t LoggingProvider[] = L"Zv-Tessel-SystemInformation";
constexpr wchar_t AliasFolder[] = L"%userprofile%\\AppData\\Local\\Microsoft\\WindowsApps\\";

constexpr DWORD NoConsoleSession = 0xFFFFFFFF;

// With its terminator; the limit of process creation.
constexpr std::size_t LongestCommandLine = 32767;

// The buffer of an expanded path, the size that the platform is told, and the room that therefore follows the buffer: a
// path too long for the buffer overruns nothing.
constexpr std::size_t PathBuffer = 260;
constexpr DWORD PathSizeTold = 520;
constexpr std::size_t PathRoom = PathSizeTold - PathBuffer;

bool HoldsInvalidHandle(const std::shared_ptr<void>& token) noexcept
{
    return token.get() == INVALID_HANDLE_VALUE;
}

void CloseToken(HANDLE token) noexcept
{
    if (token != nullptr)
    {
        CloseHandle(token);
    }
}

} // namespace

Shared::Lock Launcher::rLock;

Launcher::Launcher() : m_logger{Logging::LogManager::GetLogger()}, m_aliasFolder{AliasFolder}
{
    if (m_logger == nullptr)
    {
        Logging::LogManager::SetProvider(LoggingProvider);
        m_logger = Logging::LogManager::GetLogger();
    }
}

Launcher::Launcher(const Launcher& other) = default;
Launcher& Launcher::operator=(const Launcher& other) = default;
Launcher::~Launcher() = default;

std::shared_ptr<void> Launcher::GetUserTokenForCurrentUser(_TOKEN_TYPE tokenType) const
{
    if (!ApiSet::IsPresent(SessionApiSet))
    {
        if (m_logger != nullptr)
        {
            m_logger->LogError(NoSessionApi);
        }
        return {};
    }

    SECURITY_ATTRIBUTES notInheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
    const DWORD sessionId = WTSGetActiveConsoleSessionId();
    LogInfo(L"Attempting to impersonate logged in user.");
    if (sessionId == NoConsoleSession)
    {
        LogWarning(L"Problem while detecting active console session ID. This could be caused if the business logic ran "
                   L"while the user was not logged in.");
        return {};
    }

    // Of both calls only the handle that comes out decides, not the result.
    HANDLE queried = INVALID_HANDLE_VALUE;
    WTSQueryUserToken(sessionId, &queried);
    const Shared::Handle userToken{queried};
    if (queried == INVALID_HANDLE_VALUE)
    {
        LogWarning(L"Problem while querying user's access token.");
        return {};
    }

    HANDLE duplicate = INVALID_HANDLE_VALUE;
    DuplicateTokenEx(userToken.Get(), MAXIMUM_ALLOWED, &notInheritable, SecurityImpersonation, tokenType, &duplicate);
    std::shared_ptr<void> result;
    try
    {
        result.reset(duplicate, &CloseToken); // closes the duplicate when it throws
    }
    catch (const std::bad_alloc&)
    {
        duplicate = INVALID_HANDLE_VALUE;
    }
    if (duplicate == INVALID_HANDLE_VALUE)
    {
        LogWarning(L"Problem while duplicating the user's access token.");
    }
    return result; // also when it holds INVALID_HANDLE_VALUE: callers tell that from an empty holder
}

std::wstring Launcher::GetPathExpandedImpersonatedAsCurrentUser(std::wstring path, std::shared_ptr<void> token) const
{
    std::wstring result;
    std::array<wchar_t, PathBuffer + PathRoom> buffer{};
    {
        const Impersonation impersonation{token.get(), m_logger};
        if (!impersonation)
        {
            return result;
        }
        LogWarning(L"Problem while impersonating logged in user."); // on success, by design
        if (ExpandEnvironmentStringsForUserW(token.get(), path.c_str(), buffer.data(), PathSizeTold) != FALSE)
        {
            result = TextOf(buffer);
        }
        else
        {
            LogWarning(L"Problem while expanding path.");
        }
    }
    return result;
}

bool Launcher::IsRealUserSession(std::wstring& profilePath) const
{
    const std::shared_ptr<void> token = GetUserTokenForCurrentUser(TokenImpersonation);
    profilePath = GetPathExpandedImpersonatedAsCurrentUser(L"%userprofile%", token);
    const auto contains = [&profilePath](const wchar_t* text) { return profilePath.find(text) != std::wstring::npos; };
    return !profilePath.empty() && !contains(L"\\system32\\") && !contains(L"\\Default\\") &&
           !contains(L"\\\\defaultuser0");
}

std::wstring Launcher::GetAbsolutePathForUWPAlias(std::wstring alias) const
{
    if (alias.empty())
    {
        return {};
    }
    const std::shared_ptr<void> token = GetUserTokenForCurrentUser(TokenImpersonation);
    if (HoldsInvalidHandle(token))
    {
        return {};
    }
    return GetPathExpandedImpersonatedAsCurrentUser(m_aliasFolder + alias, token);
}

bool Launcher::Run(std::wstring exeAlias, std::wstring packageFamilyName, std::wstring arguments) const
{
    if (!arguments.empty())
    {
        arguments.insert(0, 1, L' ');
    }
    if (exeAlias.empty() || packageFamilyName.empty())
    {
        return false;
    }

    const std::shared_ptr<void> impersonationToken = GetUserTokenForCurrentUser(TokenImpersonation);
    const std::shared_ptr<void> primaryToken = GetUserTokenForCurrentUser(TokenPrimary);
    if (HoldsInvalidHandle(impersonationToken))
    {
        return false;
    }

    // The second expansion leaves the path as it is; its log line belongs to a launch.
    const std::wstring aliasPath =
        GetPathExpandedImpersonatedAsCurrentUser(GetAbsolutePathForUWPAlias(std::move(exeAlias)), impersonationToken);
    std::wstring installFolder;
    if (const Impersonation impersonation{impersonationToken.get(), m_logger}; impersonation)
    {
        std::wstring fullName = GetPackageFullNameByFamilyName(std::move(packageFamilyName));
        if (!fullName.empty())
        {
            installFolder = GetPackageInstalledPathByFullName(std::move(fullName));
        }
    }

    if (HoldsInvalidHandle(primaryToken) || aliasPath.empty() || installFolder.empty())
    {
        return false;
    }
    return RunExeAsUser(aliasPath, std::move(installFolder), primaryToken, std::move(arguments));
}

bool Launcher::RunExeAsUser(std::wstring applicationPath, std::wstring currentDirectory, std::shared_ptr<void> token,
                            std::wstring commandLine) const
{
    DWORD processId = 0;
    return RunExeAsUser(std::move(applicationPath), std::move(currentDirectory), std::move(token),
                        std::move(commandLine), processId, {});
}

bool Launcher::RunExeAsUser(std::wstring applicationPath, std::wstring currentDirectory, std::shared_ptr<void> token,
                            std::wstring commandLine, DWORD& processId, std::vector<void*> handles) const
{
    LogInfo(L"Attempting to impersonate logged in user.");
    if (token == nullptr)
    {
        return false; // given no token, Windows starts the program as the service itself
    }
    std::wstring commandLineBuffer = commandLine.empty() ? applicationPath : std::move(commandLine);
    if (commandLineBuffer.size() + 1 > LongestCommandLine)
    {
        return false;
    }

    STARTUPINFOEXW startup{};
    static_assert(sizeof startup == 112);
    startup.StartupInfo.cb = sizeof startup;
    std::optional<InheritedHandles> inherited;
    if (!handles.empty())
    {
        inherited.emplace(handles);
        if (!*inherited)
        {
            return false;
        }
        startup.lpAttributeList = inherited->Get();
    }
    const EnvironmentBlock environment{token.get()};
    if (!environment)
    {
        return false;
    }

    constexpr DWORD flags =
        EXTENDED_STARTUPINFO_PRESENT | CREATE_UNICODE_ENVIRONMENT | NORMAL_PRIORITY_CLASS | CREATE_NEW_CONSOLE;
    PROCESS_INFORMATION created{};
    if (CreateProcessAsUserW(token.get(), applicationPath.empty() ? nullptr : applicationPath.c_str(),
                             commandLineBuffer.data(), nullptr, nullptr, inherited ? TRUE : FALSE, flags,
                             environment.Get(), currentDirectory.empty() ? nullptr : currentDirectory.c_str(),
                             &startup.StartupInfo, &created) == FALSE)
    {
        LogWarning(L"Problem while creating process as user %d.", GetLastError());
        return false;
    }
    const Shared::Handle process{created.hProcess};
    const Shared::Handle thread{created.hThread};
    processId = created.dwProcessId;
    return true;
}

} // namespace Zv::Tessel::Server::Services

// NOLINTEND(performance-unnecessary-value-param)
