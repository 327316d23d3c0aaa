// Conversions between UTF-8 and UTF-16, which Windows works in.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Zv
{

// Unpaired surrogates become U+FFFD.
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

// Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::wstring ToUtf16(std::string_view text);

// Nothing when the bytes are not UTF-8.
[[nodiscard]] std::optional<std::wstring> ToUtf16Strictly(std::string_view text);

// The number of UTF-16 units that the text takes.
[[nodiscard]] std::size_t LengthInUtf16(std::string_view text);

} // namespace Zv
