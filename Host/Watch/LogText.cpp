#include "Host/Watch/LogText.h"

#include <charconv>
#include <cstddef>

namespace Zv::Host
{

std::string_view WithoutSource(std::string_view text) noexcept
{
    constexpr std::string_view endOfSource = " - ";
    const std::size_t end = text.find(endOfSource);
    return end == std::string_view::npos ? text : text.substr(end + endOfSource.size());
}

std::string_view WithoutStop(std::string_view text) noexcept
{
    return text.substr(0, text.find_last_not_of(".:") + 1);
}

std::optional<FailedCall> FindFailedCall(std::string_view text) noexcept
{
    constexpr std::string_view failure = "failed on function ";
    constexpr std::string_view status = " with HRESULT 0x";

    text = WithoutSource(text);
    const std::size_t end = text.find(status);
    if (!text.starts_with(failure) || end == std::string_view::npos)
    {
        return std::nullopt;
    }
    FailedCall failed{text.substr(failure.size(), end - failure.size()), text.substr(end + status.size())};
    std::from_chars(failed.digits.data(), failed.digits.data() + failed.digits.size(), failed.status, 16);
    return failed;
}

bool LacksReturnData(std::string_view text) noexcept
{
    return text.find("return data") != std::string_view::npos;
}

bool IsHarmless(std::string_view text) noexcept
{
    return text == "Problem while impersonating logged in user.";
}

} // namespace Zv::Host
