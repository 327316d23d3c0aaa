// Copies of client ids through the C runtime's checked copy.
#pragma once

#include <cstddef>
#include <memory>

namespace Zv::Tessel::Server::Services
{

// The longest client id, in characters.
inline constexpr std::size_t MaxClientIdLength = 64;

// Copies text with its terminator into a buffer of `size` characters. A null text, or one that does not fit, is an
// invalid parameter of the C runtime. In builds with Visual Studio the C run time decides alone: it ends the process
// unless the host has set a handler, of the process or of the thread; when that returns, this returns with what
// wcscpy_s left, an empty text. In builds with GCC the host's handler cannot be asked: the process ends here, with
// STATUS_INVALID_CRUNTIME_PARAMETER (0xC0000417).
void CheckedCopy(wchar_t* buffer, std::size_t size, const wchar_t* text) noexcept;

// A copy of a client id of at most MaxClientIdLength characters; anything else goes as CheckedCopy says.
// Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<wchar_t[]> CopyClientId(const wchar_t* clientId);

} // namespace Zv::Tessel::Server::Services
