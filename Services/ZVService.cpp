#include "Services/ZVService.h"

#include <cstdlib>

namespace Zv::Tessel::Server::Services
{

void ZVService::FreeBuffer(void* buffer)
{
    if (buffer != nullptr)
    {
        std::free(buffer);
    }
}

void ZVService::startup_task() {}

void ZVService::ReservedHook6() {}

void ZVService::ReservedHook7() {}

bool ZVService::ReservedQuery()
{
    return true;
}

void ZVService::ReservedHook9() {}

void ZVService::ReservedHook10() {}

} // namespace Zv::Tessel::Server::Services
