// Copies of client ids through the C runtime's checked copy.
#pragma once

#include <cstddef>
#include <memory>

namespace Zv::Tessel::Server::Services
{

// The longest client id, in characters.
inline constexpr std::size_t MaxClientIdLength = 64;

// Copies text with its terminator into a buffer of `size` characters. A null text, or one that does not fit, is an
// invalid parameter of the C runtime: its handler is called, and the process ends with
// STATUS_INVALID_CRUNTIME_PARAMETER (0xC0000417) even where the run time in use would have returned an error.
void CheckedCopy(wchar_t* buffer, std::size_t size, const wchar_t* text) noexcept;

// A copy of a client id of at most MaxClientIdLength characters; anything else ends the process as CheckedCopy does.
// Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<wchar_t[]> CopyClientId(const wchar_t* clientId);

} // namespace Zv::Tessel::Server::Services
