#include "Host/Explain/HResults.h"

#include <windows.h>

#include <wbemcli.h>

#include <array>

namespace Zv::Host
{

namespace
{

constexpr std::array StatusTable = {
    HResultInfo{0x80004001, "E_NOTIMPL", "not offered by this system", "This system's WMI lacks the operation."},
    HResultInfo{0x80004003, "E_POINTER", "a part of WMI is missing",
                "This system's WMI lacks the unsecured apartment, through which events are delivered."},
    HResultInfo{0x80004005, "E_FAIL", "unspecified failure", "See the event log of WMI-Activity."},
    HResultInfo{0x80010106, "RPC_E_CHANGED_MODE", "the thread has joined COM in another mode",
                "Call the module on a thread that has not joined a single-threaded apartment."},
    HResultInfo{0x80010119, "RPC_E_TOO_LATE", "COM security is already set in this process",
                "Nothing: the host has set its own."},
    HResultInfo{0x80040154, "REGDB_E_CLASSNOTREG", "WMI is not registered with COM",
                "Repair the WMI installation of this system."},
    HResultInfo{0x80041001, "WBEM_E_FAILED", "the provider failed", "See the event log of WMI-Activity."},
    HResultInfo{0x80041002, "WBEM_E_NOT_FOUND", "not found", "Check the names of class, property and instance."},
    HResultInfo{0x80041003, "WBEM_E_ACCESS_DENIED", "access denied", "Run as administrator or as a service."},
    HResultInfo{0x80041004, "WBEM_E_PROVIDER_FAILURE", "the provider failed",
                "The firmware or driver behind the class reported a failure; try again."},
    HResultInfo{0x80041005, "WBEM_E_TYPE_MISMATCH", "a value has the wrong type",
                "The firmware's class differs from what the module expects."},
    HResultInfo{0x80041006, "WBEM_E_OUT_OF_MEMORY", "out of memory", "End programs that are not needed."},
    HResultInfo{0x80041008, "WBEM_E_INVALID_PARAMETER", "a parameter is invalid",
                "Check the names and the filter for odd characters."},
    HResultInfo{0x8004100e, "WBEM_E_INVALID_NAMESPACE", "no such namespace",
                "Check the spelling, with single backslashes: ROOT\\CIMV2."},
    HResultInfo{0x80041010, "WBEM_E_INVALID_CLASS", "no such class", "Check the spelling and the namespace."},
    HResultInfo{0x80041013, "WBEM_E_PROVIDER_NOT_FOUND", "the class's provider is missing",
                "Install the driver or software that brings the class."},
    HResultInfo{0x80041014, "WBEM_E_INITIALIZATION_FAILURE", "a component could not be started",
                "Check that the WMI service runs."},
    HResultInfo{0x80041017, "WBEM_E_INVALID_QUERY", "not a valid query",
                "Write the filter like Name = 'x' AND Size > 5; text in single quotes, backslashes doubled."},
    HResultInfo{0x8004102e, "WBEM_E_INVALID_METHOD_PARAMETERS", "the method takes other parameters",
                "The firmware's class differs from what the module expects."},
    HResultInfo{0x80041033, "WBEM_E_SHUTTING_DOWN", "WMI is shutting down", "Try again when the service runs."},
    HResultInfo{0x80041058, "WBEM_E_AMBIGUOUS_OPERATION", "a lookup by key found more than one", "Narrow the query."},
    HResultInfo{0x80041068, "WBEM_E_QUOTA_VIOLATION", "a quota of WMI is exceeded", "Narrow the query."},
    HResultInfo{0x80070005, "E_ACCESSDENIED", "access denied", "Run as administrator or as a service."},
    HResultInfo{0x8007000e, "E_OUTOFMEMORY", "out of memory", "End programs that are not needed."},
    HResultInfo{0x80070057, "E_INVALIDARG", "an argument is invalid", "Check the names for odd characters."},
    HResultInfo{0x800706ba, "RPC_S_SERVER_UNAVAILABLE", "the WMI service does not run", "Start the service Winmgmt."},
};

} // namespace

std::span<const HResultInfo> AllHResults() noexcept
{
    return StatusTable;
}

const HResultInfo* FindHResult(unsigned int code) noexcept
{
    for (const HResultInfo& info : StatusTable)
    {
        if (info.code == code)
        {
            return &info;
        }
    }
    return nullptr;
}

const char* WhyNoEvents(unsigned int status) noexcept
{
    switch (status)
    {
    case static_cast<unsigned int>(WBEM_E_INVALID_CLASS):
        return "this machine has no firmware events: its WMI has no class zvqBEvnt";
    case static_cast<unsigned int>(WBEM_E_INVALID_NAMESPACE):
        return "this machine has no firmware events: its WMI has no namespace ROOT\\WMI";
    default:
        return nullptr;
    }
}

} // namespace Zv::Host
