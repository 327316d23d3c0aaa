// Numbers and times on the command line.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

// Decimal digits, or 0x and hexadecimal digits, of a number that 32 bits hold.
[[nodiscard]] std::optional<unsigned int> ParseUnsigned(std::string_view text) noexcept;

// The same with a sign allowed. A number above 2147483647 stands for the negative one with the same bits.
[[nodiscard]] std::optional<int> ParseSigned(std::string_view text) noexcept;

// What ParseSigned takes, for error lines.
inline constexpr char SignedRange[] = "a number from -2147483648 to 4294967295, in decimal or 0x and hexadecimal";

// The same as ParseUnsigned, and that from 1 on. Throw std::invalid_argument.
[[nodiscard]] unsigned int NumberFrom(const std::string& text);
[[nodiscard]] unsigned int CountFrom(const std::string& text);

// A time in seconds, such as 2 or 0.5. Throws std::invalid_argument.
[[nodiscard]] std::chrono::milliseconds SecondsFrom(const std::string& text);

// "1 event", "2 events"
[[nodiscard]] std::string Counted(std::size_t count, const std::string& noun);

} // namespace Zv::Host
