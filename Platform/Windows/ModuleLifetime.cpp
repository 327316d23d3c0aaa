#include "Platform/Windows/ModuleLifetime.h"

#include "Platform/Windows/WindowsDeclarations.h"

#include <system_error>

namespace Zv::Tessel::Server::Shared
{

void PinModule()
{
    HMODULE module = nullptr;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<const wchar_t*>(&PinModule), &module) == FALSE)
    {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category()};
    }
}

bool ProcessIsEnding() noexcept
{
    return RtlDllShutdownInProgress() != FALSE;
}

} // namespace Zv::Tessel::Server::Shared
