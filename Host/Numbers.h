// Numbers on the command line.
#pragma once

#include <optional>
#include <string_view>

namespace Zv::Host
{

// Decimal, or hexadecimal behind 0x; nothing when it is neither or does not fit.
[[nodiscard]] std::optional<unsigned int> ParseUnsigned(std::string_view text) noexcept;

} // namespace Zv::Host
