// What is so of a module and a logging library that Visual Studio built: the C++ run time is part of them, the C run
// time is Windows' own.
#pragma once

#include <windows.h>

#include <locale.h>
#include <malloc.h>

#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace Zv::Testing::ThisBuild
{

// An exception lies on the stack.
inline constexpr int BlocksOfAnException = 0;

// type_info::name() takes a block for its text on first use, behind an entry of a list that goes with the module.
inline bool IsTheRunTimes(const void* block)
{
    const std::size_t size = HeapSize(reinterpret_cast<HANDLE>(_get_heap_handle()), 0, block);
    if (size == static_cast<std::size_t>(-1) || size <= sizeof(SLIST_ENTRY))
    {
        return false;
    }
    const std::string_view text{static_cast<const char*>(block) + sizeof(SLIST_ENTRY), size - sizeof(SLIST_ENTRY)};
    return text.starts_with("class Zv::") || text.starts_with("struct Zv::");
}

// The function of the C run time that formats: _vsnwprintf is an inline function of the headers that calls it.
inline constexpr char Formatter[] = "__stdio_common_vswprintf";
using FormatterFunction = int(unsigned long long options, wchar_t* text, std::size_t size, const wchar_t* format,
                              _locale_t locale, std::va_list arguments);

// The logging library's exports, in the compiler's decoration.
inline constexpr char GetLogger[] = "?GetLogger@LogManager@Logging@@SAPEAVTraceLogger@2@XZ";
inline constexpr char SetProvider[] = "?SetProvider@LogManager@Logging@@SA_NPEB_W@Z";
inline constexpr std::string_view LogExports[] = {
    "?CreateLoggingData@Logging@@YA?AULoggingData@1@PEB_W0@Z",
    "?LogInfo@TraceLogger@Logging@@QEAAXPEB_WZZ",
    "?LogWarning@TraceLogger@Logging@@QEAAXPEB_WZZ",
    "?LogError@TraceLogger@Logging@@QEAAXPEB_WZZ",
    "?LogInfo@TraceLogger@Logging@@QEAAXULoggingData@2@ZZ",
    "?LogWarning@TraceLogger@Logging@@QEAAXULoggingData@2@ZZ",
    "?LogError@TraceLogger@Logging@@QEAAXULoggingData@2@ZZ",
};

// The C run time of Windows 10 is reached through API sets.
[[nodiscard]] inline bool IsRunTimeDll(std::string_view dll)
{
    return dll.starts_with("api-ms-win-crt-") || dll == "ucrtbase.dll";
}

// How the C++ run time finds functions that an old system lacks: in system libraries, by their fixed names.
inline constexpr char RunTimesLoader[] = "LoadLibraryExW";
[[nodiscard]] inline bool IsLoadedByTheRunTime(std::wstring_view library)
{
    return library.starts_with(L"api-ms-win-") || library.starts_with(L"ext-ms-") || library == L"kernel32";
}

// What only the run time calls and the tests have no failures for.
inline constexpr std::string_view RunTimesImports[] = {
    "DecodePointer",
    "EncodePointer",
    "FlsAlloc",
    "FlsFree",
    "FlsGetValue",
    "FlsSetValue",
    "FreeLibrary",
    "GetCurrentProcess",
    "GetCurrentProcessId",
    "GetCurrentThreadId",
    "GetStartupInfoW",
    "GetSystemTimeAsFileTime",
    "InitializeCriticalSectionAndSpinCount",
    "InitializeCriticalSectionEx",
    "InitializeSListHead",
    "InterlockedFlushSList",
    "InterlockedPushEntrySList",
    "IsDebuggerPresent",
    "IsProcessorFeaturePresent",
    "LoadLibraryExW",
    "QueryPerformanceCounter",
    "RaiseException",
    "RtlCaptureContext",
    "RtlLookupFunctionEntry",
    "RtlPcToFileHeader",
    "RtlUnwind",
    "RtlUnwindEx",
    "RtlVirtualUnwind",
    "SetUnhandledExceptionFilter",
    "TerminateProcess",
    "UnhandledExceptionFilter",
    "_callnewh",
    "_cexit",
    "_configure_narrow_argv",
    "_crt_atexit",
    "_errno",
    "_execute_onexit_table",
    "_initialize_narrow_environment",
    "_initialize_onexit_table",
    "_initterm",
    "_initterm_e",
    "_invalid_parameter_noinfo",
    "_invalid_parameter_noinfo_noreturn",
    "_register_onexit_function",
    "_seh_filter_dll",
    "terminate",
};

} // namespace Zv::Testing::ThisBuild
