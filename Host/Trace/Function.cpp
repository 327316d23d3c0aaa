#include "Host/Trace/Function.h"

#include "Host/Explain/HResults.h"
#include "Host/Explain/ResultCodes.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <utility>

namespace Zv::Host::Tracing
{

namespace
{

// Error codes that the module's calls are known to fail with.
constexpr std::array ErrorNames = {
    std::pair{ERROR_SUCCESS, "ERROR_SUCCESS"},
    std::pair{ERROR_INVALID_FUNCTION, "ERROR_INVALID_FUNCTION"},
    std::pair{ERROR_FILE_NOT_FOUND, "ERROR_FILE_NOT_FOUND"},
    std::pair{ERROR_PATH_NOT_FOUND, "ERROR_PATH_NOT_FOUND"},
    std::pair{ERROR_ACCESS_DENIED, "ERROR_ACCESS_DENIED"},
    std::pair{ERROR_INVALID_HANDLE, "ERROR_INVALID_HANDLE"},
    std::pair{ERROR_NOT_ENOUGH_MEMORY, "ERROR_NOT_ENOUGH_MEMORY"},
    std::pair{ERROR_OUTOFMEMORY, "ERROR_OUTOFMEMORY"},
    std::pair{ERROR_NOT_SUPPORTED, "ERROR_NOT_SUPPORTED"},
    std::pair{ERROR_INVALID_PARAMETER, "ERROR_INVALID_PARAMETER"},
    std::pair{ERROR_CALL_NOT_IMPLEMENTED, "ERROR_CALL_NOT_IMPLEMENTED"},
    std::pair{ERROR_INSUFFICIENT_BUFFER, "ERROR_INSUFFICIENT_BUFFER"},
    std::pair{ERROR_MOD_NOT_FOUND, "ERROR_MOD_NOT_FOUND"},
    std::pair{ERROR_PROC_NOT_FOUND, "ERROR_PROC_NOT_FOUND"},
    std::pair{ERROR_ALREADY_EXISTS, "ERROR_ALREADY_EXISTS"},
    std::pair{ERROR_PRIVILEGE_NOT_HELD, "ERROR_PRIVILEGE_NOT_HELD"},
    std::pair{ERROR_NO_TOKEN, "ERROR_NO_TOKEN"},
    std::pair{ERROR_CTX_WINSTATION_NOT_FOUND, "ERROR_CTX_WINSTATION_NOT_FOUND"},
    std::pair{ERROR_NOT_FOUND, "ERROR_NOT_FOUND"},
    std::pair{RPC_S_NO_CALL_ACTIVE, "RPC_S_NO_CALL_ACTIVE"},
};

std::string ErrorText(unsigned long error)
{
    for (const auto& [code, name] : ErrorNames)
    {
        if (static_cast<unsigned long>(code) == error)
        {
            return std::to_string(error) + " (" + name + ')';
        }
    }
    return std::to_string(error);
}

std::string StatusName(std::uint32_t status)
{
    if (status == 0)
    {
        return "S_OK";
    }
    if (status == 1)
    {
        return "S_FALSE";
    }
    const HResultInfo* const info = FindHResult(status);
    return HexCode(static_cast<int>(status)) + (info != nullptr ? std::string{" ("} + info->name + ')' : "");
}

std::string Hex(std::uint64_t value)
{
    char text[24];
    static_cast<void>(std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value)));
    return text;
}

std::string WaitName(std::uint32_t value)
{
    switch (value)
    {
    case WAIT_TIMEOUT:
        return "WAIT_TIMEOUT";
    case WAIT_FAILED:
        return "WAIT_FAILED";
    default:
        return value < WAIT_ABANDONED_0 ? "WAIT_OBJECT_0 + " + std::to_string(value) : Hex(value);
    }
}

} // namespace

bool HasFailed(ResultKind kind, std::uint64_t value) noexcept
{
    switch (kind)
    {
    case ResultKind::Status:
    case ResultKind::NtStatus:
        return static_cast<std::int32_t>(value) < 0;
    case ResultKind::Error:
        return static_cast<std::uint32_t>(value) != 0;
    case ResultKind::Bool:
        return static_cast<std::uint32_t>(value) == 0;
    case ResultKind::Handle:
        return value == 0 || value == ~std::uint64_t{0};
    case ResultKind::Wait:
        return static_cast<std::uint32_t>(value) == WAIT_FAILED;
    case ResultKind::Nothing:
    case ResultKind::Number:
        break;
    }
    return false;
}

std::string ShowResult(ResultKind kind, std::uint64_t value, unsigned long lastError)
{
    const bool failed = HasFailed(kind, value);
    const std::string error = failed ? ", error " + ErrorText(lastError) : "";
    switch (kind)
    {
    case ResultKind::Nothing:
        break;
    case ResultKind::Number:
        return std::to_string(static_cast<std::int64_t>(value));
    case ResultKind::Status:
        return StatusName(static_cast<std::uint32_t>(value));
    case ResultKind::NtStatus:
        return Hex(static_cast<std::uint32_t>(value));
    case ResultKind::Error:
        return ErrorText(static_cast<std::uint32_t>(value));
    case ResultKind::Bool:
        return failed ? "FALSE" + error : "TRUE";
    case ResultKind::Handle:
        return (value == 0 ? "null" : Hex(value)) + error;
    case ResultKind::Wait:
        return WaitName(static_cast<std::uint32_t>(value)) + error;
    }
    return {};
}

} // namespace Zv::Host::Tracing
