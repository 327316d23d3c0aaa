// Text in a buffer that a Windows function has filled.
#pragma once

#include <algorithm>
#include <string>

namespace Zv::Tessel::Server::Services
{

// Up to the terminator, or to the buffer's end where there is none.
template <class Buffer>
[[nodiscard]] std::wstring TextOf(const Buffer& buffer)
{
    return {buffer.begin(), std::find(buffer.begin(), buffer.end(), L'\0')};
}

} // namespace Zv::Tessel::Server::Services
