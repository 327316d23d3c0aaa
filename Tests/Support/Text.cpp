#include "Tests/Support/Text.h"

#include "Platform/Windows/FormatText.h"

#include <windows.h>

#include <cstdarg>
#include <cwchar>

namespace Zv::Testing
{

std::string Narrow(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    std::string narrow(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), static_cast<int>(narrow.size()), nullptr,
                        nullptr);
    return narrow;
}

std::wstring Widen(std::string_view text)
{
    const int length = static_cast<int>(text.size());
    std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)),
                      L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::wstring Format(const wchar_t* format, ...)
{
    std::wstring text(16384, L'\0');
    std::va_list arguments;
    va_start(arguments, format);
    const int length = Tessel::Server::Shared::FormatText(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.resize(length >= 0 ? static_cast<std::size_t>(length) : text.size());
    return text;
}

} // namespace Zv::Testing
