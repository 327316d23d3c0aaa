// What is so of a module and a logging library that GCC built.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace Zv::Testing::ThisBuild
{

// An exception lies in a block of the C run time's heap.
inline constexpr int BlocksOfAnException = 1;

// Blocks that the run time takes on first use and gives back when the module goes: none.
inline bool IsTheRunTimes(const void* /*block*/)
{
    return false;
}

// The function of the C run time that formats.
inline constexpr char Formatter[] = "_vsnwprintf";
using FormatterFunction = int(wchar_t* text, std::size_t size, const wchar_t* format, std::va_list arguments);

// The logging library's exports, in the compiler's decoration.
inline constexpr char GetLogger[] = "_ZN7Logging10LogManager9GetLoggerEv";
inline constexpr char SetProvider[] = "_ZN7Logging10LogManager11SetProviderEPKw";
inline constexpr std::string_view LogExports[] = {
    "_ZN7Logging17CreateLoggingDataEPKwS1_",
    "_ZN7Logging11TraceLogger7LogInfoEPKwz",
    "_ZN7Logging11TraceLogger10LogWarningEPKwz",
    "_ZN7Logging11TraceLogger8LogErrorEPKwz",
    "_ZN7Logging11TraceLogger7LogInfoENS_11LoggingDataEz",
    "_ZN7Logging11TraceLogger10LogWarningENS_11LoggingDataEz",
    "_ZN7Logging11TraceLogger8LogErrorENS_11LoggingDataEz",
};

// The C run time is a DLL of that name.
[[nodiscard]] inline bool IsRunTimeDll(std::string_view dll)
{
    return dll == "msvcrt.dll";
}

// How the compiler's run time, which is part of the module, finds functions that an old system lacks. None of them is
// looked for on a system that the module runs on.
inline constexpr char RunTimesLoader[] = "LoadLibraryW";
[[nodiscard]] inline bool IsLoadedByTheRunTime(std::wstring_view /*library*/)
{
    return false;
}

// What only the compiler's run time calls and the tests have no failures for.
inline constexpr std::string_view RunTimesImports[] = {"_initterm", "_lock", "_unlock", "_amsg_exit"};

} // namespace Zv::Testing::ThisBuild
