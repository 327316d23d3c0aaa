#include "Benchmarks/MemoryMeter.h"

#include "Interception/ImportTable.h"

#include <oleauto.h>

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace Zv::Benchmarks
{

namespace
{

// The replacements are plain functions: what they count is the process's.
struct Counters
{
    std::atomic<std::size_t> blocks;
    std::atomic<std::size_t> blockBytes;
    std::atomic<std::size_t> strings;
    std::atomic<std::size_t> stringBytes;
    std::atomic<std::size_t> arrays;
    std::atomic<std::size_t> arrayBytes;
    std::atomic<std::ptrdiff_t> held; // of the C heap; below zero where blocks from before the meter are freed
    std::atomic<std::ptrdiff_t> heldAtStart;
    std::atomic<std::ptrdiff_t> mostHeld;
};
Counters g_counters;

void CountBlock(std::size_t size) noexcept
{
    ++g_counters.blocks;
    g_counters.blockBytes += size;
}

void* Hold(void* block) noexcept
{
    if (block != nullptr)
    {
        const auto size = static_cast<std::ptrdiff_t>(_msize(block));
        const std::ptrdiff_t now = g_counters.held += size;
        std::ptrdiff_t most = g_counters.mostHeld;
        while (most < now && !g_counters.mostHeld.compare_exchange_weak(most, now))
        {
        }
    }
    return block;
}

void LetGo(void* block) noexcept
{
    if (block != nullptr)
    {
        g_counters.held -= static_cast<std::ptrdiff_t>(_msize(block));
    }
}

void* Malloc(std::size_t size)
{
    CountBlock(size);
    return Hold(std::malloc(size));
}

void* Calloc(std::size_t count, std::size_t size)
{
    CountBlock(count * size);
    return Hold(std::calloc(count, size));
}

void* Realloc(void* block, std::size_t size)
{
    CountBlock(size);
    LetGo(block);
    return Hold(std::realloc(block, size));
}

void Free(void* block)
{
    LetGo(block);
    std::free(block);
}

char* Strdup(const char* text)
{
    CountBlock(std::strlen(text) + 1);
    return static_cast<char*>(Hold(_strdup(text)));
}

void* WINAPI AllocateOnHeap(HANDLE heap, DWORD flags, SIZE_T size)
{
    CountBlock(size);
    return HeapAlloc(heap, flags, size);
}

BSTR WINAPI AllocateString(const OLECHAR* text)
{
    ++g_counters.strings;
    g_counters.stringBytes += text == nullptr ? 0 : (std::wcslen(text) + 1) * sizeof(OLECHAR);
    return SysAllocString(text);
}

BSTR WINAPI AllocateStringOfLength(const OLECHAR* text, UINT length)
{
    ++g_counters.strings;
    g_counters.stringBytes += (std::size_t{length} + 1) * sizeof(OLECHAR);
    return SysAllocStringLen(text, length);
}

SAFEARRAY* WINAPI CreateVector(VARTYPE type, LONG lowest, ULONG count)
{
    ++g_counters.arrays;
    g_counters.arrayBytes += count;
    return SafeArrayCreateVector(type, lowest, count);
}

} // namespace

MemoryTally operator-(const MemoryTally& later, const MemoryTally& earlier) noexcept
{
    return {later.blocks - earlier.blocks,   later.blockBytes - earlier.blockBytes,
            later.strings - earlier.strings, later.stringBytes - earlier.stringBytes,
            later.arrays - earlier.arrays,   later.arrayBytes - earlier.arrayBytes};
}

MemoryMeter::MemoryMeter(HMODULE module)
{
    const Interception::ImportTable imports{module};
    const auto watch = [&]<class Function>(const char* name, Function* replacement) {
        if (imports.Contains(nullptr, name))
        {
            m_redirections.push_back(imports.Redirect(nullptr, name, replacement));
        }
    };
    watch("malloc", &Malloc);
    watch("calloc", &Calloc);
    watch("realloc", &Realloc);
    watch("free", &Free);
    watch("_strdup", &Strdup);
    watch("HeapAlloc", &AllocateOnHeap);
    watch("SysAllocString", &AllocateString);
    watch("SysAllocStringLen", &AllocateStringOfLength);
    watch("SafeArrayCreateVector", &CreateVector);
}

MemoryTally MemoryMeter::Count() const noexcept
{
    return {g_counters.blocks,      g_counters.blockBytes, g_counters.strings,
            g_counters.stringBytes, g_counters.arrays,     g_counters.arrayBytes};
}

void MemoryMeter::StartPeak() noexcept
{
    g_counters.heldAtStart = g_counters.held.load();
    g_counters.mostHeld = g_counters.held.load();
}

std::size_t MemoryMeter::Peak() const noexcept
{
    return static_cast<std::size_t>(g_counters.mostHeld - g_counters.heldAtStart);
}

} // namespace Zv::Benchmarks
