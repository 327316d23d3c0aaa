#include "Platform/Windows/BoundedFormat.h"

#include "Platform/Windows/FormatText.h"

#include <cstdarg>

namespace Zv::Tessel::Server::Shared::WMI
{

HRESULT BoundedFormat(wchar_t* buffer, std::size_t bytes, const wchar_t* format, ...) noexcept
{
    constexpr std::size_t tooLarge = 2147483647; // STRSAFE_MAX_CCH
    const std::size_t size = bytes / sizeof(wchar_t);
    if (size == 0 || size >= tooLarge)
    {
        return E_INVALIDARG;
    }

    va_list arguments;
    va_start(arguments, format);
    const int written = FormatText(buffer, size - 1, format, arguments);
    va_end(arguments);
    buffer[size - 1] = L'\0'; // the run time leaves a text that just fits, or does not fit, without its terminator
    return written < 0 ? HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER) : S_OK;
}

} // namespace Zv::Tessel::Server::Shared::WMI
