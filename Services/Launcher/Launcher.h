// The interactive user's session as a service sees it: the user's token, packages and programs.
#pragma once

#include "Logging/Logging.h"
#include "Platform/Windows/Lock.h"
#include "Shared/Contract/Export.h"

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Tessel::Server::Services
{

// Acts for the user who is signed in at the console. Copyable; a call keeps nothing but the log lines it writes, so any
// thread may use any object. Impersonation concerns the calling thread and ends before the call does, also when it ends
// with an exception.
//
// A token is handed around in a shared holder. An empty holder means that no token was obtained; one that holds
// INVALID_HANDLE_VALUE means that the user's token could not be duplicated. Its last owner calls CloseHandle unless the
// handle is null. For INVALID_HANDLE_VALUE, which is the pseudo handle of the current process, Windows then does
// nothing and reports success.
//
// Failures are logged and reported by a neutral value: an empty holder or string, false. Beyond that std::bad_alloc may
// leave every operation but GetUserTokenForCurrentUser.
class Launcher
{
public:
    // The package's PackageOrigin; its version with the major number in the top 16 bits, then minor, build, revision.
    using OriginAndVersion = std::pair<std::int32_t, std::uint64_t>;

    // Names the logging provider if nobody has done so.
    ZV_EXPORT Launcher();
    ZV_EXPORT Launcher(const Launcher& other);
    ZV_EXPORT Launcher& operator=(const Launcher& other);
    ZV_EXPORT ~Launcher();

    // A new token of the console user.
    [[nodiscard]] ZV_EXPORT std::shared_ptr<void> GetUserTokenForCurrentUser(_TOKEN_TYPE tokenType) const;

    // The path with the user's environment variables put in.
    [[nodiscard]] ZV_EXPORT std::wstring GetPathExpandedImpersonatedAsCurrentUser(std::wstring path,
                                                                                  std::shared_ptr<void> token) const;

    // Whether a person is signed in, as opposed to a system account or the account of a machine's first start. Gives
    // the profile folder that the answer rests on.
    [[nodiscard]] ZV_EXPORT bool IsRealUserSession(std::wstring& profilePath) const;

    // The full name of the family's main package that the calling thread's user has.
    [[nodiscard]] ZV_EXPORT std::wstring GetPackageFullNameByFamilyName(std::wstring familyName) const;
    [[nodiscard]] ZV_EXPORT std::wstring GetPackageFullNameByFamilyName(std::wstring familyName,
                                                                        std::shared_ptr<void> token) const;

    // The folder of the package that the calling thread's user has.
    [[nodiscard]] ZV_EXPORT std::wstring GetPackageInstalledPathByFullName(std::wstring fullName) const;
    [[nodiscard]] ZV_EXPORT std::wstring GetPackageInstalledPathByFullName(std::wstring fullName,
                                                                           std::shared_ptr<void> token) const;

    // Where the console user's execution alias of that file name is.
    [[nodiscard]] ZV_EXPORT std::wstring GetAbsolutePathForUWPAlias(std::wstring alias) const;

    // These two report failure by std::runtime_error.
    [[nodiscard]] ZV_EXPORT OriginAndVersion GetOriginAndVersionByFullName(std::wstring fullName) const;
    [[nodiscard]] ZV_EXPORT OriginAndVersion GetOriginAndVersionByFamilyName(std::wstring familyName) const;

    // Starts the program behind a package's execution alias on the console user's desktop, as that user, in the
    // package's folder. With arguments the command line is a blank and the arguments, without the program's name.
    [[nodiscard]] ZV_EXPORT bool Run(std::wstring exeAlias, std::wstring packageFamilyName,
                                     std::wstring arguments) const;

    // Starts a program as the token's user, with that user's environment. Without a command line the application path
    // serves as such. The new process inherits the handles listed, which must be inheritable, and no others.
    [[nodiscard]] ZV_EXPORT bool RunExeAsUser(std::wstring applicationPath, std::wstring currentDirectory,
                                              std::shared_ptr<void> token, std::wstring commandLine) const;
    [[nodiscard]] ZV_EXPORT bool RunExeAsUser(std::wstring applicationPath, std::wstring currentDirectory,
                                              std::shared_ptr<void> token, std::wstring commandLine, DWORD& processId,
                                              std::vector<void*> handles) const;

    // Lets one look-up of a full name run at a time in the whole process.
    ZV_EXPORT static Shared::Lock rLock;

private:
    template <class... Arguments>
    void LogInfo(const wchar_t* text, Arguments... arguments) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogInfo(text, arguments...);
        }
    }

    template <class... Arguments>
    void LogWarning(const wchar_t* text, Arguments... arguments) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogWarning(text, arguments...);
        }
    }

    Logging::TraceLogger* m_logger; // the library's; may be null
    std::wstring m_aliasFolder;     // where a user's execution aliases are, before expansion
};

} // namespace Zv::Tessel::Server::Services
