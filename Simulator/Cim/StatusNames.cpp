#include "Simulator/Cim/StatusNames.h"

#include "Simulator/Cim/NearestName.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace Zv::Simulator
{

namespace
{

struct Name
{
    std::string_view name;
    HRESULT status;
};

constexpr HRESULT ServerUnavailable = static_cast<HRESULT>(0x800706BAU);
constexpr HRESULT ServerFault = static_cast<HRESULT>(0x80010105U);

constexpr Name Names[] = {
    {"S_OK", S_OK},
    {"S_FALSE", S_FALSE},
    {"E_FAIL", E_FAIL},
    {"E_POINTER", E_POINTER},
    {"E_NOINTERFACE", E_NOINTERFACE},
    {"E_OUTOFMEMORY", E_OUTOFMEMORY},
    {"E_ACCESSDENIED", E_ACCESSDENIED},
    {"E_INVALIDARG", E_INVALIDARG},
    {"E_NOTIMPL", E_NOTIMPL},
    {"REGDB_E_CLASSNOTREG", REGDB_E_CLASSNOTREG},
    {"RPC_E_SERVERFAULT", ServerFault},
    {"RPC_S_SERVER_UNAVAILABLE", ServerUnavailable},
    {"WBEM_S_FALSE", Status(WBEM_S_FALSE)},
    {"WBEM_S_TIMEDOUT", Status(WBEM_S_TIMEDOUT)},
    {"WBEM_S_NO_MORE_DATA", Status(WBEM_S_NO_MORE_DATA)},
    {"WBEM_S_RESET_TO_DEFAULT", Status(WBEM_S_RESET_TO_DEFAULT)},
    {"WBEM_S_DIFFERENT", Status(WBEM_S_DIFFERENT)},
    {"WBEM_E_FAILED", Status(WBEM_E_FAILED)},
    {"WBEM_E_NOT_FOUND", Status(WBEM_E_NOT_FOUND)},
    {"WBEM_E_ACCESS_DENIED", Status(WBEM_E_ACCESS_DENIED)},
    {"WBEM_E_PROVIDER_FAILURE", Status(WBEM_E_PROVIDER_FAILURE)},
    {"WBEM_E_TYPE_MISMATCH", Status(WBEM_E_TYPE_MISMATCH)},
    {"WBEM_E_OUT_OF_MEMORY", Status(WBEM_E_OUT_OF_MEMORY)},
    {"WBEM_E_INVALID_PARAMETER", Status(WBEM_E_INVALID_PARAMETER)},
    {"WBEM_E_NOT_AVAILABLE", Status(WBEM_E_NOT_AVAILABLE)},
    {"WBEM_E_CRITICAL_ERROR", Status(WBEM_E_CRITICAL_ERROR)},
    {"WBEM_E_NOT_SUPPORTED", Status(WBEM_E_NOT_SUPPORTED)},
    {"WBEM_E_PROVIDER_NOT_FOUND", Status(WBEM_E_PROVIDER_NOT_FOUND)},
    {"WBEM_E_PROVIDER_LOAD_FAILURE", Status(WBEM_E_PROVIDER_LOAD_FAILURE)},
    {"WBEM_E_INITIALIZATION_FAILURE", Status(WBEM_E_INITIALIZATION_FAILURE)},
    {"WBEM_E_TRANSPORT_FAILURE", Status(WBEM_E_TRANSPORT_FAILURE)},
    {"WBEM_E_INVALID_OPERATION", Status(WBEM_E_INVALID_OPERATION)},
    {"WBEM_E_INVALID_QUERY", Status(WBEM_E_INVALID_QUERY)},
    {"WBEM_E_INVALID_QUERY_TYPE", Status(WBEM_E_INVALID_QUERY_TYPE)},
    {"WBEM_E_ALREADY_EXISTS", Status(WBEM_E_ALREADY_EXISTS)},
    {"WBEM_E_INVALID_NAMESPACE", Status(WBEM_E_INVALID_NAMESPACE)},
    {"WBEM_E_INVALID_OBJECT", Status(WBEM_E_INVALID_OBJECT)},
    {"WBEM_E_INVALID_CLASS", Status(WBEM_E_INVALID_CLASS)},
    {"WBEM_E_PROVIDER_NOT_CAPABLE", Status(WBEM_E_PROVIDER_NOT_CAPABLE)},
    {"WBEM_E_VALUE_OUT_OF_RANGE", Status(WBEM_E_VALUE_OUT_OF_RANGE)},
    {"WBEM_E_UNEXPECTED", Status(WBEM_E_UNEXPECTED)},
    {"WBEM_E_SYSTEM_PROPERTY", Status(WBEM_E_SYSTEM_PROPERTY)},
    {"WBEM_E_ILLEGAL_OPERATION", Status(WBEM_E_ILLEGAL_OPERATION)},
    {"WBEM_E_LOCAL_CREDENTIALS", Status(WBEM_E_LOCAL_CREDENTIALS)},
    {"WBEM_E_INVALID_METHOD", Status(WBEM_E_INVALID_METHOD)},
    {"WBEM_E_INVALID_METHOD_PARAMETERS", Status(WBEM_E_INVALID_METHOD_PARAMETERS)},
    {"WBEM_E_CALL_CANCELLED", Status(WBEM_E_CALL_CANCELLED)},
    {"WBEM_E_SHUTTING_DOWN", Status(WBEM_E_SHUTTING_DOWN)},
    {"WBEM_E_INVALID_OBJECT_PATH", Status(WBEM_E_INVALID_OBJECT_PATH)},
    {"WBEM_E_TIMED_OUT", Status(WBEM_E_TIMED_OUT)},
    {"WBEM_E_METHOD_NOT_IMPLEMENTED", Status(WBEM_E_METHOD_NOT_IMPLEMENTED)},
    {"WBEM_E_METHOD_DISABLED", Status(WBEM_E_METHOD_DISABLED)},
    {"WBEM_E_UNPARSABLE_QUERY", Status(WBEM_E_UNPARSABLE_QUERY)},
    {"WBEM_E_NOT_EVENT_CLASS", Status(WBEM_E_NOT_EVENT_CLASS)},
    {"WBEM_E_QUOTA_VIOLATION", Status(WBEM_E_QUOTA_VIOLATION)},
};

} // namespace

std::string_view NearestStatusName(std::string_view text)
{
    std::array<std::string_view, std::size(Names)> names;
    std::ranges::transform(Names, names.begin(), &Name::name);
    return NearestName(text, names);
}

std::optional<HRESULT> StatusByName(std::string_view name) noexcept
{
    for (const Name& entry : Names)
    {
        if (entry.name == name)
        {
            return entry.status;
        }
    }
    return std::nullopt;
}

std::string StatusName(HRESULT status)
{
    for (const Name& entry : Names)
    {
        if (entry.status == status)
        {
            return std::string{entry.name};
        }
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(status));
    return text;
}

} // namespace Zv::Simulator
