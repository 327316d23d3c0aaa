#include "Services/CheckedCopy.h"

#include <windows.h>

#include <cstdlib>
#include <cwchar>

namespace Zv::Tessel::Server::Services
{

void CheckedCopy(wchar_t* buffer, std::size_t size, const wchar_t* text) noexcept
{
    // Where the run time does not end the process by itself (msvcrt.dll), and no handler of the host's has decided that
    // it goes on.
    if (wcscpy_s(buffer, size, text) != 0 && _get_invalid_parameter_handler() == nullptr)
    {
        constexpr UINT invalidCRuntimeParameter = 0xC0000417; // STATUS_INVALID_CRUNTIME_PARAMETER, ntstatus.h
        TerminateProcess(GetCurrentProcess(), invalidCRuntimeParameter);
    }
}

std::unique_ptr<wchar_t[]> CopyClientId(const wchar_t* clientId)
{
    const std::size_t size = (clientId == nullptr ? 0 : wcsnlen(clientId, MaxClientIdLength)) + 1;
    auto copy = std::make_unique<wchar_t[]>(size);
    CheckedCopy(copy.get(), size, clientId);
    return copy;
}

} // namespace Zv::Tessel::Server::Services
