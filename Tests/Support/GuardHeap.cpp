#include "Tests/Support/GuardHeap.h"

#include "Interception/ImportTable.h"

#include <algorithm>
#include <cstdint>
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

constexpr std::size_t PageSize = 4096;
constexpr std::size_t Pages = std::size_t{1} << 20;
constexpr std::size_t ArenaSize = Pages * PageSize;
constexpr unsigned char NewByte = 0xA5;   // what a block holds that nobody has written to
constexpr unsigned char SlackByte = 0x5A; // what the rest of its pages holds
constexpr DWORD HeapCorruption = 0xC0000374;

enum class PageState : std::uint8_t
{
    Unused,
    Live,
    Freed
};

// One page of the arena. A block's pages are neighbours; the guard page counts as one of them.
struct Page
{
    std::uint32_t firstPage; // of its block
    std::uint32_t pages;     // of its block
    std::size_t size;        // of its block, as it was asked for
    PageState state;
};

// Trivial, so that it is there before the first and after the last static object: libraries free blocks when the
// process ends.
struct Arena
{
    SRWLOCK lock;
    unsigned char* begin;
    Page* table;           // guarded by lock
    std::size_t next;      // the page where the search for room begins; guarded by lock
    std::size_t allocated; // guarded by lock
    GuardHeap::Mode mode;
    void (*freeOfRunTime)(void*);
};
Arena g_arena{};

class ArenaLock
{
public:
    ArenaLock() noexcept { AcquireSRWLockExclusive(&g_arena.lock); }
    ArenaLock(const ArenaLock&) = delete;
    ArenaLock& operator=(const ArenaLock&) = delete;
    ~ArenaLock() { ReleaseSRWLockExclusive(&g_arena.lock); }
};

[[nodiscard]] bool IsInArena(const void* address) noexcept
{
    return g_arena.begin != nullptr &&
           reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(g_arena.begin) < ArenaSize;
}

[[nodiscard]] std::size_t PageOf(const void* address) noexcept
{
    return static_cast<std::size_t>(static_cast<const unsigned char*>(address) - g_arena.begin) / PageSize;
}

// A block's place in its pages. Nothing of the module relies on an alignment that its size does not have: what needs 16
// bytes has a size that 16 divides, save texts and bytes, which need none.
[[nodiscard]] std::size_t AlignedSize(std::size_t size) noexcept
{
    const std::size_t alignment = size % 4 == 0 ? 16 : size % 2 == 0 ? 2 : 1;
    return std::max(size + alignment - 1, alignment) / alignment * alignment;
}

[[nodiscard]] unsigned char* DataOf(const Page& page) noexcept
{
    unsigned char* const first = g_arena.begin + page.firstPage * PageSize;
    return g_arena.mode == GuardHeap::Mode::Underrun ? first + PageSize : first;
}

[[nodiscard]] unsigned char* BlockOf(const Page& page) noexcept
{
    unsigned char* const data = DataOf(page);
    return g_arena.mode == GuardHeap::Mode::Underrun ? data
                                                     : data + (page.pages - 1) * PageSize - AlignedSize(page.size);
}

// Where `pages` neighbours are free to be used, the ones that were used longest ago first; Pages when there is no room.
[[nodiscard]] std::size_t FindRoom(std::size_t pages) noexcept
{
    std::size_t first = g_arena.next;
    bool wrapped = false;
    while (true)
    {
        if (first + pages > Pages)
        {
            if (wrapped || pages > Pages)
            {
                return Pages;
            }
            wrapped = true;
            first = 0;
        }
        std::size_t end = first;
        while (end < first + pages && g_arena.table[end].state != PageState::Live)
        {
            ++end;
        }
        if (end == first + pages)
        {
            return first;
        }
        first = g_arena.table[end].firstPage + g_arena.table[end].pages;
    }
}

void* Allocate(std::size_t size) noexcept
{
    if (size > ArenaSize / 2)
    {
        return nullptr;
    }
    const ArenaLock held;
    const std::size_t pages = (AlignedSize(size) + PageSize - 1) / PageSize + 1;
    const std::size_t first = FindRoom(pages);
    if (first == Pages)
    {
        return nullptr;
    }
    const Page page{static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(pages), size, PageState::Live};
    const std::size_t dataSize = (pages - 1) * PageSize;
    unsigned char* const data = DataOf(page);
    if (VirtualAlloc(data, dataSize, MEM_COMMIT, PAGE_READWRITE) == nullptr)
    {
        return nullptr;
    }
    std::fill_n(g_arena.table + first, pages, page);
    g_arena.next = first + pages;
    ++g_arena.allocated;

    unsigned char* const block = BlockOf(page);
    std::memset(data, SlackByte, dataSize);
    std::memset(block, NewByte, size);
    return block;
}

// What a wrong access did to the block that the address belongs to.
struct Complaint
{
    char text[160];
};

Complaint Describe(const char* what, const void* address) noexcept
{
    const auto* const at = static_cast<const unsigned char*>(address);
    const Page& page = g_arena.table[PageOf(address)];
    Complaint complaint{};
    if (page.state == PageState::Unused)
    {
        std::snprintf(complaint.text, sizeof complaint.text, "%s where no block ever was", what);
        return complaint;
    }
    const unsigned char* const block = BlockOf(page);
    const char* const state = page.state == PageState::Freed ? "freed " : "";
    if (at < block)
    {
        std::snprintf(complaint.text, sizeof complaint.text, "%s %llu bytes before a %sblock of %llu bytes", what,
                      static_cast<unsigned long long>(block - at), state, static_cast<unsigned long long>(page.size));
    }
    else if (at >= block + page.size)
    {
        std::snprintf(complaint.text, sizeof complaint.text, "%s %llu bytes behind a %sblock of %llu bytes", what,
                      static_cast<unsigned long long>(at - block - page.size), state,
                      static_cast<unsigned long long>(page.size));
    }
    else
    {
        std::snprintf(complaint.text, sizeof complaint.text, "%s at byte %llu of a %sblock of %llu bytes", what,
                      static_cast<unsigned long long>(at - block), state, static_cast<unsigned long long>(page.size));
    }
    return complaint;
}

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

// A debugger sees the exception first; without one OnFault ends the process.
void Complain(const Complaint& complaint) noexcept
{
    const auto text = reinterpret_cast<ULONG_PTR>(&complaint);
    RaiseException(HeapCorruption, EXCEPTION_NONCONTINUABLE, 1, &text);
}

LONG CALLBACK OnFault(EXCEPTION_POINTERS* exception) noexcept
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == HeapCorruption && record.NumberParameters == 1)
    {
        End(*reinterpret_cast<const Complaint*>(record.ExceptionInformation[0]));
    }
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2)
    {
        const auto* const address = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
        if (IsInArena(address))
        {
            End(Describe(record.ExceptionInformation[0] == 0 ? "read" : "write", address));
        }
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// Of a live block; complains about anything else.
[[nodiscard]] const Page& LivePageOf(const void* block) noexcept
{
    const Page& page = g_arena.table[PageOf(block)];
    if (page.state != PageState::Live || BlockOf(page) != block)
    {
        Complain(Describe("free", block));
    }
    return page;
}

void CheckSlack(const Page& page) noexcept
{
    const unsigned char* const data = DataOf(page);
    const unsigned char* const end = data + (page.pages - 1) * PageSize;
    const unsigned char* const block = BlockOf(page);
    const auto isWritten = [](unsigned char byte) { return byte != SlackByte; };
    if (const auto* const written = std::find_if(data, block, isWritten); written != block)
    {
        Complain(Describe("write, found when freed,", written));
    }
    if (const auto* const written = std::find_if(block + page.size, end, isWritten); written != end)
    {
        Complain(Describe("write, found when freed,", written));
    }
}

// Takes a block of this heap back: its pages cannot be accessed from here on.
void TakeBack(void* block) noexcept
{
    const ArenaLock held;
    const Page page = LivePageOf(block);
    CheckSlack(page);
    VirtualFree(DataOf(page), (page.pages - 1) * PageSize, MEM_DECOMMIT);
    for (std::size_t i = 0; i < page.pages; ++i)
    {
        g_arena.table[page.firstPage + i].state = PageState::Freed;
    }
}

// For the module: its own blocks, those that it made before it was put on this heap, and those of the C runtime and of
// hosts that it is to free.
void FreeOfModule(void* block) noexcept
{
    if (block == nullptr)
    {
        return;
    }
    if (IsInArena(block))
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
        Complain(complaint);
    }
    g_arena.freeOfRunTime(block);
}

void FreeOfProgram(void* block) noexcept
{
    IsInArena(block) ? TakeBack(block) : g_arena.freeOfRunTime(block);
}

void* AllocateZeros(std::size_t count, std::size_t size) noexcept
{
    if (size != 0 && count > ArenaSize / size)
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
    std::size_t former = 0;
    if (IsInArena(block))
    {
        const ArenaLock held;
        former = LivePageOf(block).size;
    }
    else
    {
        former = _msize(block);
    }
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
    if (!IsInArena(block))
    {
        return HeapFree(heap, flags, block);
    }
    TakeBack(block);
    return TRUE;
}

GuardHeap::Mode ModeOf(const std::wstring& name)
{
    if (name == L"overrun")
    {
        return GuardHeap::Mode::Overrun;
    }
    if (name == L"underrun")
    {
        return GuardHeap::Mode::Underrun;
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

void Start(GuardHeap::Mode mode)
{
    const auto fail = [](const char* what) {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category(), what};
    };
    g_arena.table =
        static_cast<Page*>(VirtualAlloc(nullptr, Pages * sizeof(Page), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    auto* const begin = static_cast<unsigned char*>(VirtualAlloc(nullptr, ArenaSize, MEM_RESERVE, PAGE_NOACCESS));
    if (g_arena.table == nullptr || begin == nullptr || AddVectoredExceptionHandler(1, &OnFault) == nullptr)
    {
        fail("the guard heap cannot be made");
    }
    const Interception::ImportTable program{GetModuleHandleW(nullptr)};
    g_arena.mode = mode;
    g_arena.freeOfRunTime = program.Current<void (*)(void*)>(nullptr, "free");
    g_arena.begin = begin;
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
        Start(ModeOf(name));
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
    return g_arena.begin != nullptr;
}

bool GuardHeap::IsLive(const void* block) noexcept
{
    if (!IsInArena(block))
    {
        return false;
    }
    const ArenaLock held;
    const Page& page = g_arena.table[PageOf(block)];
    return page.state == PageState::Live && BlockOf(page) == block;
}

std::size_t GuardHeap::Allocations() noexcept
{
    const ArenaLock held;
    return g_arena.allocated;
}

} // namespace Zv::Testing
