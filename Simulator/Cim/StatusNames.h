// Names of the status codes that descriptions and reports use.
#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <optional>
#include <string>
#include <string_view>

namespace Zv::Simulator
{

// WMI's status codes are enumerators; their type differs between compilers.
[[nodiscard]] constexpr HRESULT Status(WBEMSTATUS status) noexcept
{
    return static_cast<HRESULT>(status);
}

// Any of WMI's flags joined, whatever enumeration each of them comes from.
template <class... Flag>
[[nodiscard]] constexpr LONG Flags(Flag... flags) noexcept
{
    return (LONG{0} | ... | static_cast<LONG>(flags));
}

// The known name that is most like this text.
[[nodiscard]] std::string_view NearestStatusName(std::string_view text);
[[nodiscard]] std::optional<HRESULT> StatusByName(std::string_view name) noexcept;
// The name, or "0x8004xxxx" for a status that has none here.
[[nodiscard]] std::string StatusName(HRESULT status);

} // namespace Zv::Simulator
