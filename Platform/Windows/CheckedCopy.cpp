#include "Platform/Windows/CheckedCopy.h"

#include <windows.h>

#include <cwchar>

namespace Zv::Tessel::Server::Shared
{

void CheckedCopy(wchar_t* buffer, std::size_t size, const wchar_t* text) noexcept
{
#if defined(_MSC_VER)
    // Windows' C run time, which the host shares: it has ended the process, or a handler of the host's has decided
    // that it goes on.
    static_cast<void>(wcscpy_s(buffer, size, text));
#else
    // msvcrt.dll returns an error, and the module cannot ask for the host's handler.
    if (wcscpy_s(buffer, size, text) != 0)
    {
        constexpr UINT invalidCRuntimeParameter = 0xC0000417; // STATUS_INVALID_CRUNTIME_PARAMETER, ntstatus.h
        TerminateProcess(GetCurrentProcess(), invalidCRuntimeParameter);
    }
#endif
}

} // namespace Zv::Tessel::Server::Shared
