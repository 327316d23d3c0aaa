// Arguments and results as the transcript shows them.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <type_traits>

namespace Zv::Testing
{

// "CLSID_WbemLocator" and the like for the identifiers that the module uses, the usual braced text for others.
[[nodiscard]] std::wstring ShowGuid(const GUID& guid);

// "0x80004005".
[[nodiscard]] std::wstring ShowResult(HRESULT hr);

// Constant texts in quotes, other pointers as null or ptr, signed numbers in decimal, unsigned ones in hexadecimal.
template <class T>
[[nodiscard]] std::wstring Show(const T& value)
{
    if constexpr (std::is_same_v<T, GUID>)
    {
        return ShowGuid(value);
    }
    else if constexpr (std::is_same_v<T, const wchar_t*>)
    {
        return value != nullptr ? L"\"" + std::wstring{value} + L"\"" : L"null";
    }
    else if constexpr (std::is_pointer_v<T>)
    {
        return value != nullptr ? L"ptr" : L"null";
    }
    else if constexpr (std::is_unsigned_v<T>)
    {
        wchar_t text[20];
        swprintf_s(text, L"0x%I64x", static_cast<std::uint64_t>(value));
        return value < 10 ? std::to_wstring(value) : text;
    }
    else if constexpr (std::is_enum_v<T>)
    {
        return std::to_wstring(static_cast<std::underlying_type_t<T>>(value));
    }
    else if constexpr (std::is_arithmetic_v<T>)
    {
        return std::to_wstring(value);
    }
    else
    {
        return L"?";
    }
}

// "a, b, c"
template <class... Arguments>
[[nodiscard]] std::wstring ShowAll(const Arguments&... arguments)
{
    std::wstring text;
    ((text += (text.empty() ? L"" : L", ") + Show(arguments)), ...);
    return text;
}

} // namespace Zv::Testing
