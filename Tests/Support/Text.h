// Text helpers of the tests.
#pragma once

#include <string>
#include <string_view>

namespace Zv::Testing
{

// UTF-8 of UTF-16, for messages.
[[nodiscard]] std::string Narrow(std::wstring_view text);

[[nodiscard]] std::wstring Widen(std::string_view text);

// printf into a string, for expected log lines; Microsoft's meaning of %s and %S.
[[nodiscard]] std::wstring Format(const wchar_t* format, ...);

} // namespace Zv::Testing
