// The C run time's formatting, with Microsoft's meaning of %s (wide) and %S (narrow).
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cwchar>

// Microsoft's headers would rather see _vsnwprintf_s, which throws away what it has written when an argument cannot be
// converted.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
#elif defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4996)
#endif

namespace Zv::Tessel::Server::Shared
{

// Writes at most `limit` characters; without the terminating zero when there are as many or more. Returns their number;
// negative when the text was cut or a narrow argument could not be converted.
inline int FormatText(wchar_t* text, std::size_t limit, const wchar_t* format, std::va_list arguments) noexcept
{
    return _vsnwprintf(text, limit, format, arguments);
}

} // namespace Zv::Tessel::Server::Shared

#if defined(__clang__)
#pragma clang diagnostic pop
#elif defined(_MSC_VER)
#pragma warning(pop)
#endif
