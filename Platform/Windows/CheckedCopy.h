// The C runtime's checked copy.
#pragma once

#include <cstddef>

namespace Zv::Tessel::Server::Shared
{

// Copies text with its terminator into a buffer of `size` characters. A null text, or one that does not fit, is an
// invalid parameter of the C runtime. In builds with Visual Studio the C run time decides alone: it ends the process
// unless the host has set a handler, of the process or of the thread; when that returns, this returns with what
// wcscpy_s left, an empty text. In builds with GCC the host's handler cannot be asked: the process ends here, with
// STATUS_INVALID_CRUNTIME_PARAMETER (0xC0000417).
void CheckedCopy(wchar_t* buffer, std::size_t size, const wchar_t* text) noexcept;

} // namespace Zv::Tessel::Server::Shared
