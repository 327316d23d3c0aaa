// Requests that come from a file or from standard input.
#pragma once

#include <string>
#include <string_view>

namespace Zv::Host
{

// Reads all of a file, or of standard input for "-". Throws Failure(InputOutput).
[[nodiscard]] std::string ReadAll(const std::string& path);

// The text of UTF-8, with or without a byte order mark, or of UTF-16 with one, as UTF-16. Throws Failure(BadInput),
// naming `source`, for bytes that are neither and for a zero character, at which the module would stop reading.
[[nodiscard]] std::wstring DecodeRequest(std::string_view bytes, const std::string& source);

} // namespace Zv::Host
