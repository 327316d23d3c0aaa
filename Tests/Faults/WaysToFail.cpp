#include "Tests/Faults/WaysToFail.h"

#include "Simulator/Cim/StatusNames.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/ThisBuild.h"

#include <wbemcli.h>

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <iterator>
#include <map>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

using Simulator::Status;
using Table = std::map<std::string_view, Failures>;

std::uint64_t Bits(HRESULT hr)
{
    return static_cast<std::uint32_t>(hr);
}

// Failing statuses.
Failures Gives(std::initializer_list<HRESULT> statuses, bool done = false)
{
    Failures failures;
    for (const HRESULT status : statuses)
    {
        failures.ways.push_back({.result = Bits(status), .done = done});
    }
    return failures;
}

// 0 (FALSE, a null pointer, no length) with an error code that GetLastError() tells.
Failures Refuses(std::initializer_list<DWORD> errors, bool done = false)
{
    Failures failures;
    for (const DWORD error : errors)
    {
        failures.ways.push_back({.error = error, .done = done});
    }
    return failures;
}

// Error codes as the result, of functions that return ERROR_SUCCESS or RPC_S_OK otherwise.
Failures Returns(std::initializer_list<LONG> codes, bool done = false)
{
    return Gives(codes, done);
}

constexpr bool Done = true;

const Table& Failing()
{
    static const Table table = [] {
        Failures noMemory; // null and ENOMEM
        noMemory.ways.push_back({.cError = ENOMEM});
        Failures noText; // null without more
        noText.ways.push_back({});
        Failures noThread;
        noThread.ways.push_back({.cError = EAGAIN});
        noThread.ways.push_back({.cError = EACCES});
        Failures doesNotFit;
        doesNotFit.ways.push_back({.result = 0xffffffff});
        Failures noTime;
        noTime.ways.push_back({.result = ~std::uint64_t{0}});
        Failures noLocalTime;
        noLocalTime.ways.push_back({.result = EINVAL, .cError = EINVAL});
        Failures noConsole;
        noConsole.ways.push_back({.result = 0xffffffff});
        Failures waitFailed;
        waitFailed.ways.push_back({.result = WAIT_FAILED, .error = ERROR_INVALID_HANDLE});
        waitFailed.ways.push_back({.result = WAIT_ABANDONED_0});
        Failures noSlot;
        noSlot.ways.push_back({.result = TLS_OUT_OF_INDEXES, .error = ERROR_NO_MORE_ITEMS});
        Failures noPriority;
        noPriority.ways.push_back({.result = THREAD_PRIORITY_ERROR_RETURN, .error = ERROR_INVALID_HANDLE});
        return Table{
            {"GetThreadPriority", noPriority},
            // The C run time.
            {"malloc", noMemory},
            {"calloc", noMemory},
            {"realloc", noMemory},
            {"_strdup", noMemory},
            {ThisBuild::Formatter, doesNotFit},
            {"wcsftime", noText},
            {"_time64", noTime},
            {"_localtime64_s", noLocalTime},
            {"_beginthreadex", noThread},
            // The logging library.
            {ThisBuild::GetLogger, noText},
            {ThisBuild::SetProvider, noText},
            // COM.
            {"CoInitializeEx", Gives({RPC_E_CHANGED_MODE, E_OUTOFMEMORY, E_UNEXPECTED, E_INVALIDARG})},
            {"CoIncrementMTAUsage", Gives({E_OUTOFMEMORY, E_UNEXPECTED})},
            {"CoDecrementMTAUsage", Gives({E_INVALIDARG}, Done)},
            {"CoInitializeSecurity", Gives({RPC_E_TOO_LATE, RPC_E_NO_GOOD_SECURITY_PACKAGES, E_OUTOFMEMORY})},
            {"CoCreateInstance", Gives({REGDB_E_CLASSNOTREG, CLASS_E_NOAGGREGATION, E_NOINTERFACE, E_POINTER})},
            {"CoSetProxyBlanket", Gives({E_INVALIDARG, E_NOINTERFACE, RPC_E_DISCONNECTED})},
            // OLE automation.
            {"SysAllocString", noText},
            {"SysAllocStringLen", noText},
            {"SafeArrayCreateVector", noText},
            {"SafeArrayDestroy", Gives({DISP_E_ARRAYISLOCKED, E_INVALIDARG}, Done)},
            {"SafeArrayPutElement", Gives({DISP_E_BADINDEX, E_INVALIDARG, E_OUTOFMEMORY})},
            {"SafeArrayGetElement", Gives({DISP_E_BADINDEX, E_INVALIDARG, E_OUTOFMEMORY})},
            {"SafeArrayAccessData", Gives({E_INVALIDARG, E_UNEXPECTED})},
            {"SafeArrayUnaccessData", Gives({E_INVALIDARG, E_UNEXPECTED}, Done)},
            {"VariantClear", Gives({DISP_E_ARRAYISLOCKED, DISP_E_BADVARTYPE, E_INVALIDARG}, Done)},
            {"VariantChangeType", Gives({DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADVARTYPE, E_OUTOFMEMORY})},
            // Text and base64.
            {"CryptStringToBinaryW", Refuses({ERROR_INVALID_DATA, ERROR_MORE_DATA})},
            {"CryptBinaryToStringW", Refuses({ERROR_MORE_DATA, ERROR_OUTOFMEMORY})},
            {"MultiByteToWideChar", Refuses({ERROR_INSUFFICIENT_BUFFER, ERROR_NO_UNICODE_TRANSLATION})},
            {"WideCharToMultiByte", Refuses({ERROR_INSUFFICIENT_BUFFER})},
            {"FormatMessageA", Refuses({ERROR_MR_MID_NOT_FOUND})},
            // Kernel objects. A handle that cannot be closed is nobody's to mend: it is closed all the same.
            {"CreateEventW", Refuses({ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE, ERROR_NOT_ENOUGH_MEMORY})},
            {"CreateEventA", Refuses({ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY})},
            {"CreateSemaphoreA", Refuses({ERROR_NOT_ENOUGH_MEMORY})},
            {"OpenEventW", Refuses({ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED})},
            {"OpenProcess", Refuses({ERROR_ACCESS_DENIED})},
            {"DuplicateHandle", Refuses({ERROR_ACCESS_DENIED})},
            {"SetEvent", Refuses({ERROR_INVALID_HANDLE})},
            // An event that stays set leaves the registration waiting for the next event, by contract.
            {"ResetEvent", Refuses({ERROR_INVALID_HANDLE}, Done)},
            {"ReleaseSemaphore", Refuses({ERROR_TOO_MANY_POSTS})},
            {"CloseHandle", Refuses({ERROR_INVALID_HANDLE}, Done)},
            {"WaitForMultipleObjects", waitFailed},
            {"WaitForSingleObject", waitFailed},
            {"TlsAlloc", noSlot},
            {"TlsSetValue", Refuses({ERROR_NOT_ENOUGH_MEMORY})}, // beyond a thread's first 64 slots
            {"TlsFree", Refuses({ERROR_INVALID_PARAMETER}, Done)},
            {"HeapAlloc", noText},
            {"HeapFree", Refuses({ERROR_INVALID_PARAMETER}, Done)},
            // RPC.
            {"UuidCreate", Returns({RPC_S_UUID_LOCAL_ONLY, RPC_S_UUID_NO_ADDRESS})},
            {"UuidToStringW", Returns({RPC_S_OUT_OF_MEMORY})},
            {"RpcServerInqCallAttributesW",
             Returns({RPC_S_INVALID_BINDING, RPC_S_NO_CALL_ACTIVE, ERROR_INVALID_PARAMETER})},
            // Modules.
            {"GetModuleHandleExW", Refuses({ERROR_MOD_NOT_FOUND, ERROR_INVALID_PARAMETER})},
            {"FreeLibrary", Refuses({ERROR_MOD_NOT_FOUND}, Done)},
            {"GetModuleHandleW", Refuses({ERROR_MOD_NOT_FOUND})},
            {"GetProcAddress", Refuses({ERROR_PROC_NOT_FOUND})},
            {"LoadLibraryW", Refuses({ERROR_MOD_NOT_FOUND})},
            // The user's session, token, environment and processes. A reversion that fails is reported after it was
            // made: the thread would otherwise go on as the user, by contract.
            {"WTSGetActiveConsoleSessionId", noConsole},
            {"WTSQueryUserToken", Refuses({ERROR_NO_TOKEN, ERROR_PRIVILEGE_NOT_HELD, ERROR_FILE_NOT_FOUND})},
            {"DuplicateTokenEx", Refuses({ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE})},
            {"ImpersonateLoggedOnUser", Refuses({ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE})},
            {"RevertToSelf", Refuses({ERROR_ACCESS_DENIED}, Done)},
            {"ExpandEnvironmentStringsForUserW", Refuses({ERROR_INSUFFICIENT_BUFFER, ERROR_ACCESS_DENIED})},
            {"CreateEnvironmentBlock", Refuses({ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY})},
            {"DestroyEnvironmentBlock", Refuses({ERROR_INVALID_PARAMETER}, Done)},
            {"InitializeProcThreadAttributeList", Refuses({ERROR_NOT_ENOUGH_MEMORY, ERROR_INVALID_PARAMETER})},
            {"UpdateProcThreadAttribute", Refuses({ERROR_NOT_ENOUGH_MEMORY, ERROR_BAD_LENGTH})},
            {"CreateProcessAsUserW",
             Refuses({ERROR_PRIVILEGE_NOT_HELD, ERROR_FILE_NOT_FOUND, ERROR_NOT_ENOUGH_MEMORY})},
            // Packages.
            {"FindPackagesByPackageFamily", Returns({ERROR_INVALID_PARAMETER, ERROR_OUTOFMEMORY})},
            {"GetPackagePathByFullName", Returns({ERROR_NOT_FOUND, ERROR_INVALID_PARAMETER})},
            {"GetStagedPackageOrigin", Returns({ERROR_NOT_FOUND, ERROR_INVALID_PARAMETER})},
            {"OpenPackageInfoByFullName", Returns({ERROR_NOT_FOUND, ERROR_INVALID_PARAMETER})},
            {"GetPackageInfo", Returns({ERROR_NOT_FOUND, ERROR_INVALID_PARAMETER})},
            {"ClosePackageInfo", Returns({ERROR_INVALID_PARAMETER}, Done)},
        };
    }();
    return table;
}

// Functions that have no failure to report, each under the reason why not.
const std::map<std::string_view, std::vector<std::string_view>>& NotFailing()
{
    static const std::map<std::string_view, std::vector<std::string_view>> groups{
        {"returns nothing",
         {"free",
          "LocalFree",
          "RpcStringFreeW",
          "CoUninitialize",
          "SysFreeString",
          "VariantInit",
          "OutputDebugStringW",
          "OutputDebugStringA",
          "DeleteProcThreadAttributeList",
          "AcquireSRWLockExclusive",
          "ReleaseSRWLockExclusive",
          "WakeConditionVariable",
          "WakeAllConditionVariable",
          "EnterCriticalSection",
          "LeaveCriticalSection",
          "DeleteCriticalSection",
          "InitializeCriticalSection",
          "SetLastError",
          "Sleep",
          "GetSystemTimeAsFileTime",
          "RtlCaptureContext",
          "_endthreadex"}},
        {"does not return", {"abort", "exit", "longjmp", "RaiseException", "RtlUnwindEx"}},
        {"a log line that cannot be written is nobody's business",
         {std::begin(ThisBuild::LogExports), std::end(ThisBuild::LogExports)}},
        {"the compiler's run time calls it",
         {std::begin(ThisBuild::RunTimesImports), std::end(ThisBuild::RunTimesImports)}},
        {"always has its answer",
         {"memchr",
          "memcmp",
          "memcpy",
          "memmove",
          "memset",
          "strcmp",
          "strlen",
          "strncmp",
          "wcslen",
          "SysStringLen",
          "GetLastError",
          "TlsGetValue",
          "GetTickCount64",
          "GetCurrentProcess",
          "GetCurrentProcessId",
          "GetCurrentThread",
          "GetCurrentThreadId",
          "GetProcessHeap",
          "IsDebuggerPresent",
          "RtlDllShutdownInProgress",
          "RtlGetVersion",
          "TryEnterCriticalSection",
          "_errno",
          "__iob_func",
          "___lc_codepage_func",
          "___mb_cur_max_func",
          "localeconv",
          "_setjmp",
          "__C_specific_handler",
          "RtlLookupFunctionEntry",
          "RtlVirtualUnwind",
          "IsDBCSLeadByteEx",
          "_ultoa",
          "strerror"}},
        {"without a time limit it waits until it is woken", {"SleepConditionVariableSRW"}},
        {"what was loaded at start-up: a library without these calls is as good", {"DisableThreadLibraryCalls"}},
    };
    return groups;
}

// Functions that can fail and are not made to: each with its reason.
const std::map<std::string_view, std::string_view>& Excluded()
{
    static const std::map<std::string_view, std::string_view> functions{
        {"wcscpy_s",
         "a checked copy that fails is for the C run time to handle, which ends the process; a build with GCC does so "
         "itself: SessionsDeathTest"},
    };
    return functions;
}

// The rest of GCC's run time, linked into the module: thread, console and debugger functions behind its own doors,
// which no command reaches.
constexpr std::string_view Unreached[] = {"AddVectoredExceptionHandler",
                                          "RemoveVectoredExceptionHandler",
                                          "GetHandleInformation",
                                          "GetProcessAffinityMask",
                                          "SetProcessAffinityMask",
                                          "GetThreadContext",
                                          "SetThreadContext",
                                          "SetThreadPriority",
                                          "ResumeThread",
                                          "SuspendThread",
                                          "TerminateProcess",
                                          "VirtualProtect",
                                          "VirtualQuery",
                                          "_close",
                                          "_read",
                                          "fprintf",
                                          "fputc",
                                          "fputs",
                                          "fwrite",
                                          "printf",
                                          "signal",
                                          "vfprintf"};

} // namespace

std::string Way::Describe() const
{
    std::string text = Narrow(Format(L"0x%I64x", result));
    if (error != 0)
    {
        text += " with error " + std::to_string(error);
    }
    if (cError != 0)
    {
        text += " with errno " + std::to_string(cError);
    }
    return text + (done ? " after its work" : "");
}

const Failures* FailuresOf(std::string_view dll, std::string_view function)
{
    static std::map<std::string_view, Failures> others = [] {
        std::map<std::string_view, Failures> table;
        for (const auto& [reason, functions] : NotFailing())
        {
            for (const std::string_view name : functions)
            {
                table[name] = {Failures::Kind::CannotFail, {}, reason};
            }
        }
        for (const auto& [name, reason] : Excluded())
        {
            table[name] = {Failures::Kind::Excluded, {}, reason};
        }
        for (const std::string_view name : Unreached)
        {
            table[name] = {Failures::Kind::Excluded, {}, Failures::NotReached};
        }
        return table;
    }();
    // Microsoft's C and C++ run time, as far as it has no entry of its own: other functions than GCC's.
    static const Failures microsoft{Failures::Kind::Excluded, {}, Failures::NotReached};
    if (const auto found = Failing().find(function); found != Failing().end())
    {
        return &found->second;
    }
    if (const auto found = others.find(function); found != others.end())
    {
        return &found->second;
    }
    const bool runTime = dll.starts_with("api-ms-win-crt-") || dll.starts_with("VCRUNTIME") || dll.starts_with("MSVCP");
    return runTime ? &microsoft : nullptr;
}

const Failures* FailuresOfSite(std::string_view site)
{
    static const Table table = [] {
        constexpr HRESULT accessDenied = Status(WBEM_E_ACCESS_DENIED);
        constexpr HRESULT failed = Status(WBEM_E_FAILED);
        constexpr HRESULT invalidClass = Status(WBEM_E_INVALID_CLASS);
        constexpr HRESULT invalidParameter = Status(WBEM_E_INVALID_PARAMETER);
        constexpr HRESULT outOfMemory = Status(WBEM_E_OUT_OF_MEMORY);
        constexpr HRESULT transport = Status(WBEM_E_TRANSPORT_FAILURE);
        const HRESULT serverGone = HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);

        const Failures noInterface = Gives({E_NOINTERFACE});
        const Failures creating = Gives({REGDB_E_CLASSNOTREG, E_OUTOFMEMORY, CO_E_SERVER_EXEC_FAILURE});
        const Failures asking = Gives(
            {accessDenied, failed, invalidClass, outOfMemory, transport, serverGone, Status(WBEM_E_SHUTTING_DOWN)});
        const Failures object = Gives({failed, Status(WBEM_E_NOT_FOUND), invalidParameter, outOfMemory});
        return Table{
            {"CoCreateInstance(WbemLocator)", creating},
            {"CoCreateInstance(UnsecuredApartment)", creating},
            {"IWbemLocator::QueryInterface", noInterface},
            {"IWbemLocator::ConnectServer",
             Gives({Status(WBEM_E_INVALID_NAMESPACE), accessDenied, failed, outOfMemory, serverGone})},
            {"IWbemServices::QueryInterface", noInterface},
            {"IWbemServices::CancelAsyncCall", Gives({failed, transport}, Done)},
            {"IWbemServices::GetObject", asking},
            {"IWbemServices::CreateInstanceEnum", asking},
            {"IWbemServices::ExecQuery", asking},
            {"IWbemServices::ExecNotificationQueryAsync",
             Gives({accessDenied, failed, invalidClass, Status(WBEM_E_UNPARSABLE_QUERY), outOfMemory, transport})},
            {"IWbemServices::ExecMethod", Gives({accessDenied, failed, Status(WBEM_E_INVALID_METHOD), invalidParameter,
                                                 Status(WBEM_E_PROVIDER_LOAD_FAILURE), Status(WBEM_E_PROVIDER_FAILURE),
                                                 Status(WBEM_E_METHOD_DISABLED), serverGone})},
            {"IClientSecurity::SetBlanket", Gives({E_INVALIDARG, E_OUTOFMEMORY})},
            {"IEnumWbemClassObject::Next",
             // The last two succeed and hand out nothing.
             Gives({invalidClass, Status(WBEM_E_INVALID_QUERY), failed, outOfMemory, transport,
                    Status(WBEM_E_UNEXPECTED), serverGone, Status(WBEM_S_FALSE), Status(WBEM_S_TIMEDOUT)})},
            {"IWbemClassObject::QueryInterface", noInterface},
            {"IWbemClassObject::Get", object},
            {"IWbemClassObject::Put", object},
            {"IWbemClassObject::GetObjectText", object},
            {"IWbemClassObject::SpawnInstance", object},
            {"IWbemClassObject::GetMethod", object},
            {"IUnsecuredApartment::QueryInterface", noInterface},
            {"IUnsecuredApartment::CreateObjectStub", Gives({E_FAIL, E_OUTOFMEMORY, E_INVALIDARG})},
            {"IWbemObjectSink(stub)::QueryInterface", noInterface},
        };
    }();
    const auto found = table.find(site);
    return found == table.end() ? nullptr : &found->second;
}

std::string_view SupplyOf(std::string_view function)
{
    constexpr std::string_view heap[] = {"malloc", "calloc", "realloc", "_strdup"};
    return std::ranges::find(heap, function) != std::end(heap) ? "the heap" : function;
}

} // namespace Zv::Testing
