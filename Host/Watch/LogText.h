// What the texts of the module's log lines say. The one place that compares them for what they mean to the host.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

// Without the names of the class and method that logged it.
[[nodiscard]] std::string_view WithoutSource(std::string_view text) noexcept;

// Without the full stop or colon at its end.
[[nodiscard]] std::string_view WithoutStop(std::string_view text) noexcept;

// Of "failed on function CALL with HRESULT 0xDIGITS".
struct FailedCall
{
    std::string_view call;
    std::string_view digits;
    unsigned int status = 0;
};
[[nodiscard]] std::optional<FailedCall> FindFailedCall(std::string_view text) noexcept;

// Whether it is about bytes that the firmware did not return: zeros are handed out in their place.
[[nodiscard]] bool LacksReturnData(std::string_view text) noexcept;

// Whether it is the warning that the launcher writes when all is well.
[[nodiscard]] bool IsHarmless(std::string_view text) noexcept;

} // namespace Zv::Host
