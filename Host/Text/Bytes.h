// Bytes as people and programs write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Host
{

using Bytes = std::vector<std::uint8_t>;

// Pairs of hexadecimal digits, with blanks between pairs or without. Nothing when the text is anything else.
[[nodiscard]] std::optional<Bytes> ParseHex(std::string_view text);

// Sixteen bytes a line: offset, bytes, and the characters that they are in ASCII. Lines like the one before are one
// "*"; the number of bytes ends it. Empty for no bytes.
[[nodiscard]] std::string HexDump(const Bytes& bytes);

// Base64 without line breaks.
[[nodiscard]] std::string ToBase64(const Bytes& bytes);
// With line breaks or without; nothing when the text is not base64.
[[nodiscard]] std::optional<Bytes> FromBase64(const std::string& text);

} // namespace Zv::Host
