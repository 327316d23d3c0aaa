#include "Host/Numbers.h"

#include <charconv>

namespace Zv::Host
{

std::optional<unsigned int> ParseUnsigned(std::string_view text) noexcept
{
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    unsigned int number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
    if (error != std::errc{} || end != digits.data() + digits.size())
    {
        return std::nullopt;
    }
    return number;
}

} // namespace Zv::Host
