#include "Host/Trace/Imports.h"

#include "Host/Trace/NumberNames.h"
#include "Host/Trace/TraceOptions.h"
#include "Host/Trace/Traced.h"

#include "Interception/ImportTable.h"

#include <oleauto.h>
#include <process.h>
#include <rpc.h>
#include <userenv.h>
#include <wincrypt.h>
#include <wtsapi32.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace Zv::Host::Tracing
{

namespace
{

using Group = ImportEntry::Group;

// A name as a template argument.
template <std::size_t Size>
struct Literal
{
    char text[Size];
    consteval Literal(const char (&literal)[Size]) { std::copy_n(literal, Size, text); }
};

// Stands in the place of an imported function. Static, since the address of Call is all that the import's slot holds.
template <Literal Name, class Signature>
struct ImportHook;

template <Literal Name, class Result, class... Arguments>
struct ImportHook<Name, Result(Arguments...)>
{
    static inline std::array<Argument, sizeof...(Arguments) + 1> arguments; // one more: there may be none
    static inline Function function{Name.text};
    static inline Result (*original)(Arguments...) = nullptr;

    static Result Call(Arguments... given) { return Traced<Result>(function, "", original, given...); }
};

template <Literal Name, class Result, class... Arguments>
struct ImportHook<Name, Result(Arguments...) noexcept> : ImportHook<Name, Result(Arguments...)>
{
};

// A row of the table; a null name stands for an argument that is not shown, as do those that are left out at the end.
template <Literal Name, class Signature>
ImportEntry Row(Group group, ResultKind result, std::initializer_list<Argument> arguments)
{
    using Hook = ImportHook<Name, Signature>;
    std::copy_n(arguments.begin(), std::min(arguments.size(), Hook::arguments.size()), Hook::arguments.begin());
    Hook::function.result = result;
    Hook::function.arguments = Hook::arguments.data();
    return {Name.text, group, "", reinterpret_cast<void*>(&Hook::Call),
            [](void* original) { Hook::original = reinterpret_cast<decltype(Hook::original)>(original); }};
}

template <Literal Name, class Signature>
ImportEntry Shown(ResultKind result, std::initializer_list<Argument> arguments)
{
    return Row<Name, Signature>(Group::Platform, result, arguments);
}

template <Literal Name, class Signature>
ImportEntry Memory(ResultKind result, std::initializer_list<Argument> arguments)
{
    return Row<Name, Signature>(Group::Memory, result, arguments);
}

void AddQuiet(std::vector<ImportEntry>& table, const char* why, std::initializer_list<const char*> names)
{
    for (const char* const name : names)
    {
        table.push_back({name, Group::Quiet, why, nullptr, nullptr});
    }
}

void AddCom(std::vector<ImportEntry>& table)
{
    using enum ResultKind;
    const std::initializer_list<ImportEntry> rows = {
        Shown<"CoInitializeEx", decltype(CoInitializeEx)>(Status, {NotShown, In("apartment", &OneOf<Apartments>)}),
        Shown<"CoUninitialize", decltype(CoUninitialize)>(Nothing, {}),
        Shown<"CoIncrementMTAUsage", decltype(CoIncrementMTAUsage)>(Status, {Out("cookie")}),
        Shown<"CoDecrementMTAUsage", decltype(CoDecrementMTAUsage)>(Status, {In("cookie")}),
        Shown<"CoInitializeSecurity", decltype(CoInitializeSecurity)>(
            Status, {NotShown, NotShown, NotShown, NotShown, In("authentication", &OneOf<AuthenticationLevels>),
                     In("impersonation", &OneOf<ImpersonationLevels>), NotShown, In("capabilities")}),
        Shown<"CoCreateInstance", decltype(CoCreateInstance)>(
            Status, {In("class"), NotShown, In("context", &FlagsOf<Contexts>), In("interface"), Out("object")}),
        Shown<"CoSetProxyBlanket", decltype(CoSetProxyBlanket)>(
            Status, {In("proxy"), In("authentication", &OneOf<AuthenticationServices>),
                     In("authorization", &OneOf<AuthorizationServices>), In("principal"),
                     In("level", &OneOf<AuthenticationLevels>), In("impersonation", &OneOf<ImpersonationLevels>),
                     NotShown, In("capabilities")}),
        Shown<"CryptStringToBinaryW", decltype(CryptStringToBinaryW)>(
            Bool, {InData("text"), In("length"), In("flags"), NotShown, Out("size")}),
        Shown<"CryptBinaryToStringW", decltype(CryptBinaryToStringW)>(
            Bool, {NotShown, In("size"), In("flags"), NotShown, Out("length")}),
        Shown<"UuidCreate", decltype(UuidCreate)>(Error, {Out("uuid")}),
        Shown<"UuidToStringW", decltype(UuidToStringW)>(Error, {NotShown, Out("text")}),
        Shown<"RpcServerInqCallAttributesW", decltype(RpcServerInqCallAttributesW)>(Error, {In("binding")}),
        Memory<"RpcStringFreeW", decltype(RpcStringFreeW)>(Error, {}),
    };
    table.insert(table.end(), rows);
}

void AddKernel(std::vector<ImportEntry>& table)
{
    using enum ResultKind;
    const std::initializer_list<ImportEntry> rows = {
        Shown<"CreateEventW", decltype(CreateEventW)>(
            Handle, {NotShown, In("manual", &OneOf<Booleans>), In("signalled", &OneOf<Booleans>), In("name")}),
        Shown<"OpenEventW", decltype(OpenEventW)>(Handle, {In("access"), In("inherit", &OneOf<Booleans>), In("name")}),
        Shown<"SetEvent", decltype(SetEvent)>(Bool, {In("event")}),
        Shown<"ResetEvent", decltype(ResetEvent)>(Bool, {In("event")}),
        Shown<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(
            Wait, {In("count"), NotShown, In("all", &OneOf<Booleans>), In("timeout", &OneOf<Timeouts>)}),
        Shown<"CloseHandle", decltype(CloseHandle)>(Bool, {In("handle")}),
        Shown<"OutputDebugStringW", decltype(OutputDebugStringW)>(Nothing, {In("text")}),
        Shown<"_beginthreadex",
              std::uintptr_t(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*)>(Handle, {}),
        Shown<"DisableThreadLibraryCalls", decltype(DisableThreadLibraryCalls)>(Bool, {}),
        Shown<"GetModuleHandleW", decltype(GetModuleHandleW)>(Handle, {In("module")}),
        Shown<"GetModuleHandleExW", decltype(GetModuleHandleExW)>(Bool, {In("flags"), NotShown, Out("module")}),
        Shown<"FreeLibrary", decltype(FreeLibrary)>(Bool, {In("module")}),
        Shown<"LoadLibraryW", decltype(LoadLibraryW)>(Handle, {In("file")}),
        Shown<"GetProcAddress", decltype(GetProcAddress)>(Handle, {In("module"), In("function")}),
        Shown<"RtlGetVersion", LONG(RTL_OSVERSIONINFOW*)>(NtStatus, {Out("version")}),
    };
    table.insert(table.end(), rows);
}

void AddUser(std::vector<ImportEntry>& table)
{
    using enum ResultKind;
    const std::initializer_list<ImportEntry> rows = {
        Shown<"WTSGetActiveConsoleSessionId", decltype(WTSGetActiveConsoleSessionId)>(Number, {}),
        Shown<"WTSQueryUserToken", decltype(WTSQueryUserToken)>(Bool, {In("session"), Out("token")}),
        Shown<"DuplicateTokenEx", decltype(DuplicateTokenEx)>(Bool, {In("token"), In("access"), NotShown,
                                                                     In("level", &OneOf<TokenLevels>),
                                                                     In("type", &OneOf<TokenTypes>), Out("duplicate")}),
        Shown<"ImpersonateLoggedOnUser", decltype(ImpersonateLoggedOnUser)>(Bool, {In("token")}),
        Shown<"RevertToSelf", decltype(RevertToSelf)>(Bool, {}),
        Shown<"ExpandEnvironmentStringsForUserW", decltype(ExpandEnvironmentStringsForUserW)>(
            Bool, {In("token"), In("path"), Out("expanded"), In("size")}),
        Shown<"CreateEnvironmentBlock", decltype(CreateEnvironmentBlock)>(
            Bool, {Out("block"), In("token"), In("inherit", &OneOf<Booleans>)}),
        Shown<"DestroyEnvironmentBlock", decltype(DestroyEnvironmentBlock)>(Bool, {In("block")}),
        Shown<"InitializeProcThreadAttributeList", decltype(InitializeProcThreadAttributeList)>(
            Bool, {NotShown, In("count"), In("flags"), Out("size")}),
        Shown<"UpdateProcThreadAttribute", decltype(UpdateProcThreadAttribute)>(
            Bool, {NotShown, In("flags"), In("attribute"), NotShown, In("size")}),
        Shown<"DeleteProcThreadAttributeList", decltype(DeleteProcThreadAttributeList)>(Nothing, {}),
        Shown<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)>(
            Bool,
            {In("token"), In("application"), In("commandLine"), NotShown, NotShown, In("inherit", &OneOf<Booleans>),
             In("flags", &FlagsOf<ProcessFlags>), NotShown, In("directory"), NotShown, Out("created")}),
        Shown<"FindPackagesByPackageFamily", decltype(FindPackagesByPackageFamily)>(
            Error, {In("family"), In("filters"), Out("count"), NotShown, Out("length")}),
        Shown<"GetPackagePathByFullName", decltype(GetPackagePathByFullName)>(
            Error, {In("fullName"), Out("length"), Out("path")}),
        Shown<"GetStagedPackageOrigin", decltype(GetStagedPackageOrigin)>(Error, {In("fullName"), Out("origin")}),
        Shown<"OpenPackageInfoByFullName", decltype(OpenPackageInfoByFullName)>(
            Error, {In("fullName"), NotShown, Out("info")}),
        Shown<"GetPackageInfo", decltype(GetPackageInfo)>(
            Error, {NotShown, In("filters"), Out("length"), NotShown, Out("count")}),
        Shown<"ClosePackageInfo", decltype(ClosePackageInfo)>(Error, {}),
    };
    table.insert(table.end(), rows);
}

// The texts among them may be passwords: they are never shown.
void AddMemory(std::vector<ImportEntry>& table)
{
    using enum ResultKind;
    const std::initializer_list<ImportEntry> rows = {
        Memory<"malloc", void*(std::size_t)>(Handle, {In("size")}),
        Memory<"calloc", void*(std::size_t, std::size_t)>(Handle, {In("count"), In("size")}),
        Memory<"realloc", void*(void*, std::size_t)>(Handle, {In("block"), In("size")}),
        Memory<"free", void(void*)>(Nothing, {In("block")}),
        Memory<"GetProcessHeap", decltype(GetProcessHeap)>(Handle, {}),
        Memory<"HeapAlloc", decltype(HeapAlloc)>(Handle, {In("heap"), In("flags"), In("size")}),
        Memory<"HeapFree", decltype(HeapFree)>(Bool, {In("heap"), In("flags"), In("block")}),
        Memory<"LocalFree", decltype(LocalFree)>(Number, {}),
        Memory<"SysAllocString", decltype(SysAllocString)>(Handle, {}),
        Memory<"SysAllocStringLen", decltype(SysAllocStringLen)>(Handle, {NotShown, In("length")}),
        Memory<"SysFreeString", decltype(SysFreeString)>(Nothing, {}),
        Memory<"SysStringLen", decltype(SysStringLen)>(Number, {}),
        Memory<"VariantInit", decltype(VariantInit)>(Nothing, {}),
        Memory<"VariantClear", decltype(VariantClear)>(Status, {}),
        Memory<"VariantChangeType", decltype(VariantChangeType)>(Status, {NotShown, NotShown, In("flags"), In("type")}),
        Memory<"SafeArrayCreateVector", decltype(SafeArrayCreateVector)>(Handle,
                                                                         {In("type"), In("lowerBound"), In("count")}),
        Memory<"SafeArrayDestroy", decltype(SafeArrayDestroy)>(Status, {}),
        Memory<"SafeArrayAccessData", decltype(SafeArrayAccessData)>(Status, {}),
        Memory<"SafeArrayUnaccessData", decltype(SafeArrayUnaccessData)>(Status, {}),
        Memory<"SafeArrayGetElement", decltype(SafeArrayGetElement)>(Status, {}),
        Memory<"SafeArrayPutElement", decltype(SafeArrayPutElement)>(Status, {}),
    };
    table.insert(table.end(), rows);
}

void AddQuietOnes(std::vector<ImportEntry>& table)
{
    AddQuiet(table, "locks and conditions, thousands of them",
             {"AcquireSRWLockExclusive", "ReleaseSRWLockExclusive", "Sleep", "SleepConditionVariableSRW",
              "WakeConditionVariable", "WakeAllConditionVariable", "InitializeCriticalSection", "EnterCriticalSection",
              "LeaveCriticalSection", "DeleteCriticalSection", "_lock", "_unlock", "TlsAlloc", "TlsFree", "TlsGetValue",
              "TlsSetValue"});
    AddQuiet(table, "reads or sets the error state, which a trace leaves alone",
             {"GetLastError", "SetLastError", "_errno"});
    AddQuiet(table, "raises, unwinds or ends",
             {"RaiseException", "RtlCaptureContext", "RtlLookupFunctionEntry", "RtlUnwindEx", "RtlVirtualUnwind",
              "__C_specific_handler", "TerminateProcess", "abort", "_amsg_exit", "RtlDllShutdownInProgress"});
    AddQuiet(table, "the compiler's start-up",
             {"VirtualProtect", "VirtualQuery", "GetCurrentProcess", "GetCurrentThreadId", "_initterm", "__iob_func"});
    AddQuiet(table, "works on texts, numbers and memory of the module's own",
             {"MultiByteToWideChar",
              "WideCharToMultiByte",
              "IsDBCSLeadByteEx",
              "FormatMessageA",
              "_vsnwprintf",
              "vfprintf",
              "fputc",
              "fputs",
              "fwrite",
              "localeconv",
              "___lc_codepage_func",
              "___mb_cur_max_func",
              "memchr",
              "memcmp",
              "memcpy",
              "memmove",
              "memset",
              "strcmp",
              "strerror",
              "strlen",
              "strncmp",
              "wcscpy_s",
              "wcsftime",
              "wcslen",
              "_time64",
              "_localtime64_s",
              "_read",
              "_close"});
}

std::vector<ImportEntry> MakeTable()
{
    std::vector<ImportEntry> table;
    AddCom(table);
    AddKernel(table);
    AddUser(table);
    AddMemory(table);
    AddQuietOnes(table);
    return table;
}

constexpr ImportEntry LogLines{"", Group::Quiet, "shown as log lines", nullptr, nullptr};
constexpr ImportEntry RunTime{"", Group::Quiet, "Microsoft's C run time", nullptr, nullptr};

bool StartsWithNoCase(std::string_view text, std::string_view start)
{
    return text.size() >= start.size() && std::ranges::equal(text.substr(0, start.size()), start,
                                                             [](char a, char b) { return (a | 0x20) == (b | 0x20); });
}

} // namespace

std::span<const ImportEntry> AllImports()
{
    static const std::vector<ImportEntry> table = MakeTable();
    return table;
}

const ImportEntry* FindImport(std::string_view dll, std::string_view name)
{
    if (StartsWithNoCase(dll, "Logging."))
    {
        return &LogLines;
    }
    const auto table = AllImports();
    const auto found = std::ranges::find_if(table, [name](const ImportEntry& entry) { return entry.name == name; });
    if (found != table.end())
    {
        return &*found;
    }
    const bool isRunTime = StartsWithNoCase(dll, "api-ms-win-crt-") || StartsWithNoCase(dll, "vcruntime") ||
                           StartsWithNoCase(dll, "msvcp");
    return isRunTime ? &RunTime : nullptr;
}

void TraceImports(HMODULE module, const TraceOptions& options)
{
    const Interception::ImportTable imports{module};
    for (const Interception::Import& import : imports.Imports())
    {
        const ImportEntry* const entry = FindImport(import.dll, import.name);
        if (entry == nullptr || entry->group == Group::Quiet || (entry->group == Group::Memory && !options.memory))
        {
            continue;
        }
        entry->attach(*import.slot);
        Interception::Redirection{{import.slot}, entry->hook}.Keep();
    }
}

} // namespace Zv::Host::Tracing
