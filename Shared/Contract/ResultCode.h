// The result codes that commands return to the host. This header needs nothing else and may be included by hosts.
#pragma once

namespace Zv::Tessel::Server::Services
{

// Every value that ZVService::ExecuteCommand returns. The numbers are part of the interface: clients compare them.
// 0x2000000a and 0x2000000b have never been given out and stay unused.
enum ResultCode : int
{
    Success = 0,

    UnsupportedFunction = 0x20000001, // the function number names no command
    GeneralFailure = 0x20000002,      // null argument, out of memory, a failed COM or Windows call without its own code

    // Function 2, raw firmware command
    CommandMissing = 0x20000003,        // "command" missing or not a number
    CommandTypeMissing = 0x20000004,    // "commandType" missing or not a number
    InputDataSizeMissing = 0x20000005,  // "inputDataSize" missing or not a number
    InputDataMissing = 0x20000006,      // "inputData" missing or null although "inputDataSize" is not 0
    InputDataSizeMismatch = 0x20000007, // decoded "inputData" is not "inputDataSize" bytes long
    ReturnDataSizeMissing = 0x20000008, // "returnDataSize" missing or not a number
    ReturnDataSizeInvalid = 0x20000009, // "returnDataSize" is none of 0, 4, 128, 1024, 4096

    // Functions 16, 32 and 256, WMI queries
    PropertyMissing = 0x2000000c,  // "property" missing, null or empty
    PropertyNotFound = 0x2000000d, // the WMI object has no such property (WBEM_E_NOT_FOUND)
    ClassMissing = 0x2000000e,     // "wmiClass" missing, null or empty
    ClassInvalid = 0x2000000f,     // no such WMI class (WBEM_E_INVALID_CLASS)
    QueryInvalid = 0x20000010,     // the query is not valid WQL, as with a bad filter (WBEM_E_INVALID_QUERY)
    NamespaceMissing = 0x20000011, // "wmiNamespace" missing, null or empty
    NamespaceInvalid = 0x20000012, // no such WMI namespace (WBEM_E_INVALID_NAMESPACE)

    // Functions 4 and 8, firmware events
    EventFilterInvalid = 0x20000013, // "filterEvent" is present but not a number

    // Function 64, firmware setting
    SettingNameMissing = 0x20000014,  // "name" missing, null or empty
    SettingValueMissing = 0x20000015, // "value" missing, null or empty

    // The envelope of every command
    RequestMalformed = 0x20000016, // the request text is not valid JSON
    ResponseTooLong = 0x20000017,  // the response would be 65,536 characters or longer
};

} // namespace Zv::Tessel::Server::Services
