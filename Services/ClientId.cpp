#include "Services/ClientId.h"

#include "Platform/Windows/CheckedCopy.h"

#include <cwchar>

namespace Zv::Tessel::Server::Services
{

std::unique_ptr<wchar_t[]> CopyClientId(const wchar_t* clientId)
{
    const std::size_t size = (clientId == nullptr ? 0 : wcsnlen(clientId, MaxClientIdLength)) + 1;
    auto copy = std::make_unique<wchar_t[]>(size);
    Shared::CheckedCopy(copy.get(), size, clientId);
    return copy;
}

} // namespace Zv::Tessel::Server::Services
