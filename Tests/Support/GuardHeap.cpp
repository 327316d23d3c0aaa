#include "Tests/Support/GuardHeap.h"

#include "Interception/ImportTable.h"
#include "Tests/Support/GuardArena.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <malloc.h>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Zv::Testing
{

namespace
{

using GuardArena::Allocate;
using GuardArena::Complaint;
using GuardArena::TakeBack;

void (*g_freeOfRunTime)(void*) = nullptr; // trivial: libraries free blocks when the process ends

// Calls nothing that allocates: the heap may be what is broken.
[[noreturn]] void End(const Complaint& complaint) noexcept
{
    std::fprintf(stderr, "\nGuard heap: %s\n", complaint.text);
    void* frames[24];
    const unsigned int count = RtlCaptureStackBackTrace(1, 24, frames, nullptr);
    for (unsigned int i = 0; i < count; ++i)
    {
        HMODULE module = nullptr;
        wchar_t path[512] = L"?";
        if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                               static_cast<const wchar_t*>(frames[i]), &module) != FALSE)
        {
            GetModuleFileNameW(module, path, 512);
        }
        const wchar_t* const slash = std::wcsrchr(path, L'\\');
        std::fprintf(stderr, "  %ls+0x%llx\n", slash != nullptr ? slash + 1 : path,
                     static_cast<unsigned long long>(static_cast<unsigned char*>(frames[i]) -
                                                     reinterpret_cast<unsigned char*>(module)));
    }
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), GuardHeap::ExitCode);
    std::abort(); // not reached
}

LONG CALLBACK OnFault(EXCEPTION_POINTERS* exception) noexcept
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == GuardArena::HeapCorruption && record.NumberParameters == 1)
    {
        End(*reinterpret_cast<const Complaint*>(record.ExceptionInformation[0]));
    }
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2)
    {
        const auto* const address = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
        if (GuardArena::Has(address))
        {
            End(GuardArena::Describe(record.ExceptionInformation[0] == 0 ? "read" : "write", address));
        }
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// For the module: its own blocks, those that it made before it was put on this heap, and those of the C runtime and of
// hosts that it is to free.
void FreeOfModule(void* block) noexcept
{
    if (block == nullptr)
    {
        return;
    }
    if (GuardArena::Has(block))
    {
        TakeBack(block);
        return;
    }
    if (!HeapValidate(reinterpret_cast<HANDLE>(_get_heap_handle()), 0, block))
    {
        ULONG_PTR lowest = 0;
        ULONG_PTR highest = 0;
        GetCurrentThreadStackLimits(&lowest, &highest);
        const auto address = reinterpret_cast<ULONG_PTR>(block);
        const bool onStack = address >= lowest && address < highest;
        Complaint complaint{};
        std::snprintf(complaint.text, sizeof complaint.text, "free of %p, which is no block%s", block,
                      onStack ? " but on the stack" : "");
        GuardArena::Complain(complaint);
    }
    g_freeOfRunTime(block);
}

void FreeOfProgram(void* block) noexcept
{
    GuardArena::Has(block) ? TakeBack(block) : g_freeOfRunTime(block);
}

void* AllocateZeros(std::size_t count, std::size_t size) noexcept
{
    if (size != 0 && count > GuardArena::Size / size)
    {
        return nullptr;
    }
    void* const block = Allocate(count * size);
    if (block != nullptr)
    {
        std::memset(block, 0, count * size);
    }
    return block;
}

// Always moves the block.
void* Reallocate(void* block, std::size_t size) noexcept
{
    if (block != nullptr && size == 0)
    {
        FreeOfModule(block);
        return nullptr;
    }
    void* const moved = Allocate(size);
    if (block == nullptr || moved == nullptr)
    {
        return moved;
    }
    const std::size_t former = GuardArena::Has(block) ? GuardArena::SizeOf(block) : _msize(block);
    std::memcpy(moved, block, std::min(former, size));
    FreeOfModule(block);
    return moved;
}

char* Duplicate(const char* text) noexcept
{
    const std::size_t size = std::strlen(text) + 1;
    auto* const copy = static_cast<char*>(Allocate(size));
    if (copy != nullptr)
    {
        std::memcpy(copy, text, size);
    }
    return copy;
}

void* WINAPI AllocateOnHeap(HANDLE heap, DWORD flags, SIZE_T size)
{
    if (heap != GetProcessHeap())
    {
        return HeapAlloc(heap, flags, size);
    }
    return (flags & HEAP_ZERO_MEMORY) != 0 ? AllocateZeros(1, size) : Allocate(size);
}

BOOL WINAPI FreeOnHeap(HANDLE heap, DWORD flags, void* block)
{
    if (!GuardArena::Has(block))
    {
        return HeapFree(heap, flags, block);
    }
    TakeBack(block);
    return TRUE;
}

GuardArena::Mode ModeOf(const std::wstring& name)
{
    if (name == L"overrun")
    {
        return GuardArena::Mode::Overrun;
    }
    if (name == L"underrun")
    {
        return GuardArena::Mode::Underrun;
    }
    throw std::runtime_error{"ZV_GUARD_HEAP is neither overrun nor underrun"};
}

// Lasts: the redirected imports are never put back, since the module frees blocks until its very end.
void Put(const Interception::ImportTable& imports, const char* function, void* replacement)
{
    Interception::Redirection redirection{imports.Find(nullptr, function), replacement};
    redirection.Keep();
}

template <class Function>
void Put(const Interception::ImportTable& imports, const char* function, Function* replacement)
{
    Put(imports, function, reinterpret_cast<void*>(replacement));
}

void StartHeap(GuardArena::Mode mode)
{
    if (!GuardArena::Start(mode) || AddVectoredExceptionHandler(1, &OnFault) == nullptr)
    {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category(), "no guarded heap"};
    }
    const Interception::ImportTable program{GetModuleHandleW(nullptr)};
    g_freeOfRunTime = program.Current<void (*)(void*)>(nullptr, "free");
    Put(program, "free", &FreeOfProgram);
}

} // namespace

void GuardHeap::GuardIfAsked(HMODULE module)
{
    wchar_t name[16] = L"";
    if (GetEnvironmentVariableW(L"ZV_GUARD_HEAP", name, 16) == 0)
    {
        return;
    }
    if (!IsOn())
    {
        StartHeap(ModeOf(name));
    }
    const Interception::ImportTable imports{module};
    if (imports.Current<void*>(nullptr, "malloc") == reinterpret_cast<void*>(&Allocate))
    {
        return; // loaded once more
    }
    Put(imports, "malloc", &Allocate);
    Put(imports, "calloc", &AllocateZeros);
    Put(imports, "realloc", &Reallocate);
    Put(imports, "_strdup", &Duplicate);
    Put(imports, "free", &FreeOfModule);
    Put(imports, "HeapAlloc", &AllocateOnHeap);
    Put(imports, "HeapFree", &FreeOnHeap);
}

bool GuardHeap::IsOn() noexcept
{
    return GuardArena::IsStarted();
}

bool GuardHeap::IsLive(const void* block) noexcept
{
    return GuardArena::IsLive(block);
}

std::size_t GuardHeap::Allocations() noexcept
{
    return GuardArena::Allocations();
}

} // namespace Zv::Testing
