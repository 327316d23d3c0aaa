// Copies of client ids.
#pragma once

#include <cstddef>
#include <memory>

namespace Zv::Tessel::Server::Services
{

// The longest client id, in characters.
inline constexpr std::size_t MaxClientIdLength = 64;

// A copy of a client id of at most MaxClientIdLength characters; anything else goes as CheckedCopy says.
// Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<wchar_t[]> CopyClientId(const wchar_t* clientId);

} // namespace Zv::Tessel::Server::Services
