// Checking the outcome of WMI calls.
#pragma once

#include "Shared/Log/ClassLog.h"

#include <windows.h>

#include <wbemcli.h>

namespace Zv::Tessel::Server::Shared::WMI
{

// A WMI status in the type in which calls return it: compilers differ in the sign of the enumeration.
[[nodiscard]] constexpr HRESULT Status(WBEMSTATUS status) noexcept
{
    return static_cast<HRESULT>(status);
}

// Logs a failing status and returns it.
[[nodiscard]] inline HRESULT Checked(HRESULT hr, const ClassLog& log, const char* method, const wchar_t* call)
{
    if (FAILED(hr))
    {
        log.CallFailed(method, call, hr);
    }
    return hr;
}

// For calls that hand out an object: a call that succeeded without one has failed too. It is logged with the status
// that it gave, and the outcome is E_FAIL.
[[nodiscard]] inline HRESULT Checked(HRESULT hr, const void* object, const ClassLog& log, const char* method,
                                     const wchar_t* call)
{
    if (SUCCEEDED(hr) && object != nullptr)
    {
        return hr;
    }
    log.CallFailed(method, call, hr);
    return FAILED(hr) ? hr : E_FAIL;
}

} // namespace Zv::Tessel::Server::Shared::WMI
