#include "Tests/Support/ModuleHeap.h"

#include "Interception/ImportTable.h"
#include "Tests/Support/GuardHeap.h"

#include <cstdint>
#include <cstring>
#include <system_error>

namespace Zv::Testing
{

namespace
{

constexpr SIZE_T HeapSize = 64U << 20;

// Of the heap that lives now. One at a time per process; changed only while no call into the module runs.
struct Region
{
    HANDLE heap = nullptr;
    Ledgers* ledgers = nullptr;
    std::uintptr_t begin = 0;

    [[nodiscard]] bool Has(const void* block) const noexcept
    {
        return heap != nullptr && reinterpret_cast<std::uintptr_t>(block) - begin < HeapSize;
    }
};
Region g_region;

void (*g_free)(void*) = nullptr; // the C runtime's, for the program

// The program's own free.
void FreeOfProgram(void* block)
{
    if (g_region.Has(block))
    {
        g_region.ledgers->heap.Given(block);
        HeapFree(g_region.heap, 0, block);
    }
    else if (g_region.ledgers != nullptr && GuardHeap::IsLive(block))
    {
        g_region.ledgers->heap.Given(block);
        g_free(block);
    }
    else
    {
        g_free(block);
    }
}

void WatchProgram()
{
    static const Interception::Redirection redirection = [] {
        const Interception::ImportTable imports{GetModuleHandleW(nullptr)};
        g_free = imports.Current<void (*)(void*)>(nullptr, "free");
        return imports.Redirect(nullptr, "free", &FreeOfProgram);
    }();
}

} // namespace

ModuleHeap::ModuleHeap(PlatformCalls& calls, Ledgers& ledgers) : m_heap{HeapCreate(0, 0, HeapSize)}
{
    if (m_heap == nullptr)
    {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category()};
    }
    WatchProgram();
    if (GuardHeap::IsOn())
    {
        g_region.ledgers = &ledgers; // a heap apart it is already
        return;
    }
    MEMORY_BASIC_INFORMATION memory{};
    VirtualQuery(m_heap, &memory, sizeof memory);
    g_region = {m_heap, &ledgers, reinterpret_cast<std::uintptr_t>(memory.AllocationBase)};

    // PlatformCalls keeps the ledger for the module's own calls.
    const auto answer = [&calls]<Name Function, class Signature>(std::function<Signature> replacement) {
        calls.Replace<Function, Signature>(std::move(replacement));
        calls.Watch<Function, Signature>(Traced::No);
    };
    const HANDLE heap = m_heap;
    answer.operator()<"malloc", void*(std::size_t)>([heap](std::size_t size) { return HeapAlloc(heap, 0, size); });
    answer.operator()<"calloc", void*(std::size_t, std::size_t)>(
        [heap](std::size_t count, std::size_t size) { return HeapAlloc(heap, HEAP_ZERO_MEMORY, count * size); });
    const auto originalRealloc = calls.Original<"realloc", void*(void*, std::size_t)>();
    answer.operator()<"realloc", void*(void*, std::size_t)>([heap, originalRealloc](void* block, std::size_t size) {
        if (block == nullptr)
        {
            return HeapAlloc(heap, 0, size);
        }
        return g_region.Has(block) ? HeapReAlloc(heap, 0, block, size) : originalRealloc(block, size);
    });
    const auto originalFree = calls.Original<"free", void(void*)>();
    answer.operator()<"free", void(void*)>([heap, originalFree](void* block) {
        if (g_region.Has(block))
        {
            HeapFree(heap, 0, block);
        }
        else
        {
            originalFree(block);
        }
    });
}

ModuleHeap::~ModuleHeap()
{
    g_region = {};
    HeapDestroy(m_heap);
}

} // namespace Zv::Testing
