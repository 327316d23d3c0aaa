#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace Zv
{

namespace
{

int CheckedLength(std::size_t length)
{
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    {
        throw std::length_error{"text too long to convert"};
    }
    return static_cast<int>(length);
}

std::optional<std::wstring> Widen(std::string_view text, DWORD flags)
{
    if (text.empty())
    {
        return std::wstring{};
    }
    const int length = CheckedLength(text.size());
    const int wideLength = MultiByteToWideChar(CP_UTF8, flags, text.data(), length, nullptr, 0);
    if (wideLength <= 0)
    {
        return std::nullopt;
    }
    std::wstring wide(static_cast<std::size_t>(wideLength), L'\0');
    MultiByteToWideChar(CP_UTF8, flags, text.data(), length, wide.data(), wideLength);
    return wide;
}

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    if (text.empty())
    {
        return {};
    }
    const int length = CheckedLength(text.size());
    const int narrowLength = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(narrowLength), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), narrowLength, nullptr, nullptr);
    return narrow;
}

std::wstring ToUtf16(std::string_view text)
{
    return Widen(text, 0).value_or(L"");
}

std::optional<std::wstring> ToUtf16Strictly(std::string_view text)
{
    return Widen(text, MB_ERR_INVALID_CHARS);
}

std::size_t LengthInUtf16(std::string_view text)
{
    return ToUtf16(text).size();
}

} // namespace Zv
