#include "Host/Text/Numbers.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <system_error>

namespace Zv::Host
{

namespace
{

constexpr double LongestTime = 1e6; // in seconds; the platform's waits take no more than 49 days

// Takes the whole text; what std::from_chars makes of it.
template <class Number, class... Format>
std::optional<Number> Parse(std::string_view text, Format... format) noexcept
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, number, format...);
    return error == std::errc{} && parsed == end ? std::optional{number} : std::nullopt;
}

} // namespace

std::optional<unsigned int> ParseUnsigned(std::string_view text) noexcept
{
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    return Parse<unsigned int>(hexadecimal ? text.substr(2) : text, hexadecimal ? 16 : 10);
}

std::optional<int> ParseSigned(std::string_view text) noexcept
{
    if (text.starts_with('-'))
    {
        return Parse<int>(text, 10);
    }
    const std::optional<unsigned int> bits = ParseUnsigned(text);
    return bits ? std::optional{static_cast<int>(*bits)} : std::nullopt;
}

unsigned int NumberFrom(const std::string& text)
{
    const std::optional<unsigned int> number = ParseUnsigned(text);
    if (!number)
    {
        throw std::invalid_argument{"must be a number from 0 to 4294967295, not \"" + text + '"'};
    }
    return *number;
}

unsigned int CountFrom(const std::string& text)
{
    const std::optional<unsigned int> number = ParseUnsigned(text);
    if (number.value_or(0) == 0)
    {
        throw std::invalid_argument{"must be a number from 1 to 4294967295, not \"" + text + '"'};
    }
    return *number;
}

std::chrono::milliseconds SecondsFrom(const std::string& text)
{
    const std::optional<double> seconds = Parse<double>(text, std::chars_format::fixed);
    if (!seconds || !(*seconds >= 0.001 && *seconds <= LongestTime))
    {
        throw std::invalid_argument{"must be seconds from 0.001 to 1000000, not \"" + text + '"'};
    }
    return std::chrono::milliseconds{std::llround(*seconds * 1000)};
}

std::string Counted(std::size_t count, const std::string& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace Zv::Host
