// Formatting into a buffer of fixed size.
#pragma once

#include <windows.h>

#include <cstddef>

namespace Zv::Tessel::Server::Shared::WMI
{

// Formats wide text, printf style with Microsoft's meanings, into a buffer of `bytes` bytes: at most bytes / 2 - 1
// characters and always a terminating zero. Returns S_OK, STRSAFE_E_INSUFFICIENT_BUFFER (0x8007007a) when the text was
// cut, or STRSAFE_E_INVALID_PARAMETER (0x80070057), the buffer untouched, when `bytes` gives no room or room for
// 2147483647 characters or more.
[[nodiscard]] HRESULT BoundedFormat(wchar_t* buffer, std::size_t bytes, const wchar_t* format, ...) noexcept;

} // namespace Zv::Tessel::Server::Shared::WMI
