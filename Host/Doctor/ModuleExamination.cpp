#include "Host/Doctor/ModuleExamination.h"

#include "Host/Client/Module.h"
#include "Platform/Windows/Utf8.h"

#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <vector>

namespace Zv::Host
{

using Tessel::Server::Shared::Handle;

namespace
{

// The file version in the loaded module's resources, empty when it has none. Read in place: the functions for files
// would bring a DLL of their own into every start of the program.
std::string VersionOf(HMODULE module)
{
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    const HGLOBAL loaded = found != nullptr ? LoadResource(module, found) : nullptr;
    const auto* const bytes = loaded != nullptr ? static_cast<const std::byte*>(LockResource(loaded)) : nullptr;
    // Three numbers of two bytes and the text "VS_VERSION_INFO", filled up to a multiple of four bytes.
    constexpr std::size_t offset = 40;
    VS_FIXEDFILEINFO info{};
    if (bytes == nullptr || SizeofResource(module, found) < offset + sizeof info)
    {
        return {};
    }
    std::memcpy(&info, bytes + offset, sizeof info);
    if (info.dwSignature != VS_FFI_SIGNATURE)
    {
        return {};
    }
    return std::to_string(HIWORD(info.dwFileVersionMS)) + '.' + std::to_string(LOWORD(info.dwFileVersionMS)) + '.' +
           std::to_string(HIWORD(info.dwFileVersionLS)) + '.' + std::to_string(LOWORD(info.dwFileVersionLS));
}

std::string VersionAndPath(HMODULE module)
{
    const std::string version = VersionOf(module);
    return (version.empty() ? "" : version + ", ") + ToUtf8(Module::PathOf(module).wstring());
}

Handle OwnToken()
{
    HANDLE token = nullptr;
    return Handle{OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) != FALSE ? token : nullptr};
}

// Empty when it cannot be told.
std::optional<bool> IsElevated()
{
    const Handle token = OwnToken();
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    return GetTokenInformation(token.Get(), TokenElevation, &elevation, sizeof elevation, &size) != FALSE
               ? std::optional{elevation.TokenIsElevated != 0}
               : std::nullopt;
}

} // namespace

Findings ExamineModule(Environment& environment)
{
    const Subject module{"module WMIService.dll", "", ""};
    const Subject logging{"library Logging.dll", "the module logs elsewhere than this program looks",
                          "Put Logging.dll beside the module."};
    Findings findings{module.Ok(VersionAndPath(environment.LoadedModule().Library()))};
    const HMODULE library = GetModuleHandleW(L"Logging.dll");
    findings.push_back(library != nullptr ? logging.Ok(VersionAndPath(library)) : logging.Missing());
    return findings;
}

Findings ExamineAccount()
{
    const Subject rights{"administrator's rights",
                         "WMI refuses firmware commands, settings and events: 0x80041003 (access denied)",
                         "Run wmihost as administrator; run the host as LocalSystem."};
    const std::optional<bool> elevated = IsElevated();
    if (!elevated)
    {
        return {rights.Unknown("the account's token cannot be read")};
    }
    return {*elevated ? rights.Ok() : rights.Missing()};
}

bool MayAskForUsers()
{
    const Handle token = OwnToken();
    LUID wanted{};
    DWORD size = 0;
    if (LookupPrivilegeValueW(nullptr, SE_TCB_NAME, &wanted) == FALSE ||
        GetTokenInformation(token.Get(), TokenPrivileges, nullptr, 0, &size) != FALSE || size == 0)
    {
        return false;
    }
    std::vector<std::byte> buffer(size);
    if (GetTokenInformation(token.Get(), TokenPrivileges, buffer.data(), size, &size) == FALSE)
    {
        return false;
    }
    const auto* const privileges = reinterpret_cast<const TOKEN_PRIVILEGES*>(buffer.data());
    const LUID_AND_ATTRIBUTES* const begin = privileges->Privileges;
    return std::any_of(begin, begin + privileges->PrivilegeCount, [&](const LUID_AND_ATTRIBUTES& held) {
        return held.Luid.LowPart == wanted.LowPart && held.Luid.HighPart == wanted.HighPart;
    });
}

} // namespace Zv::Host
