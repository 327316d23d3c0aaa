#include "Tests/Fuzz/Findings.h"

#include <windows.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <utility>

namespace Zv::Fuzz
{

namespace
{

constexpr DWORD Patience = 60'000; // milliseconds, for one input

// Made before it is needed: when it is, memory may be out of order.
struct Current
{
    std::wstring folder;
    Bytes bytes;
    std::atomic<unsigned int> runs = 0;
};
Current* g_current = nullptr;

// Of the input, so that one finding keeps one name.
std::uint64_t Hash(const Bytes& bytes) noexcept
{
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const std::uint8_t byte : bytes)
    {
        hash = (hash ^ byte) * 0x100000001B3U;
    }
    return hash;
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception)
{
    char what[80];
    switch (exception->ExceptionRecord->ExceptionCode)
    {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_STACK_OVERFLOW:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_BREAKPOINT:
    case 0xC0000374: // the heap is corrupt
        std::snprintf(what, sizeof what, "exception %08lx at %p", exception->ExceptionRecord->ExceptionCode,
                      exception->ExceptionRecord->ExceptionAddress);
        Findings::End(what);
    default:
        return EXCEPTION_CONTINUE_SEARCH;
    }
}

void OnAbort(int)
{
    Findings::End("abort");
}

void OnInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t)
{
    Findings::End("invalid parameter of the C run time");
}

DWORD WINAPI Watch(void*)
{
    for (unsigned int before = g_current->runs;; before = g_current->runs)
    {
        Sleep(Patience);
        if (before == g_current->runs)
        {
            Findings::End("no progress");
        }
    }
}

} // namespace

Findings::Findings(std::filesystem::path folder)
{
    static Current current;
    current.folder = std::move(folder).wstring();
    g_current = &current;
    AddVectoredExceptionHandler(1, &OnException);
    std::signal(SIGABRT, &OnAbort);
    _set_invalid_parameter_handler(&OnInvalidParameter);
    ULONG stack = 65536;
    SetThreadStackGuarantee(&stack);
    CloseHandle(CreateThread(nullptr, 0, &Watch, nullptr, 0, nullptr));
}

void Findings::Begin(const Input& input)
{
    g_current->bytes = ToBytes(input);
    ++g_current->runs;
}

void Findings::End(const char* what) noexcept
{
    wchar_t path[1024];
    std::swprintf(path, 1024, L"%ls/finding-%016llx", g_current->folder.c_str(),
                  static_cast<unsigned long long>(Hash(g_current->bytes)));
    std::fprintf(stderr, "FOUND %s\n  input: %ls\n", what, path);
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    if (!WriteFile(file, g_current->bytes.data(), static_cast<DWORD>(g_current->bytes.size()), &written, nullptr))
    {
        std::fprintf(stderr, "  which could not be written: error %lu\n", GetLastError());
    }
    CloseHandle(file);
    std::fflush(stdout);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), FoundSomething);
    std::abort(); // not reached
}

} // namespace Zv::Fuzz
