#include "Tests/Support/GuardArena.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace Zv::Testing::GuardArena
{

namespace
{

constexpr std::size_t PageSize = 4096;
constexpr std::size_t Pages = Size / PageSize;
constexpr unsigned char NewByte = 0xA5;   // what a block holds that nobody has written to
constexpr unsigned char SlackByte = 0x5A; // what the rest of its pages holds

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
    Mode mode;
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
    return g_arena.mode == Mode::Underrun ? first + PageSize : first;
}

[[nodiscard]] unsigned char* BlockOf(const Page& page) noexcept
{
    unsigned char* const data = DataOf(page);
    return g_arena.mode == Mode::Underrun ? data : data + (page.pages - 1) * PageSize - AlignedSize(page.size);
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

} // namespace

// A debugger sees the exception first; without one the heap ends the process.
void Complain(const Complaint& complaint) noexcept
{
    const auto text = reinterpret_cast<ULONG_PTR>(&complaint);
    RaiseException(HeapCorruption, EXCEPTION_NONCONTINUABLE, 1, &text);
}

bool Start(Mode mode) noexcept
{
    g_arena.mode = mode;
    g_arena.table =
        static_cast<Page*>(VirtualAlloc(nullptr, Pages * sizeof(Page), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    g_arena.begin = static_cast<unsigned char*>(VirtualAlloc(nullptr, Size, MEM_RESERVE, PAGE_NOACCESS));
    return g_arena.table != nullptr && g_arena.begin != nullptr;
}

bool IsStarted() noexcept
{
    return g_arena.begin != nullptr;
}

bool Has(const void* address) noexcept
{
    return IsStarted() &&
           reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(g_arena.begin) < Size;
}

bool IsLive(const void* block) noexcept
{
    if (!Has(block))
    {
        return false;
    }
    const ArenaLock held;
    const Page& page = g_arena.table[PageOf(block)];
    return page.state == PageState::Live && BlockOf(page) == block;
}

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
                      static_cast<unsigned long long>(at - (block + page.size)), state,
                      static_cast<unsigned long long>(page.size));
    }
    else
    {
        std::snprintf(complaint.text, sizeof complaint.text, "%s at byte %llu of a %sblock of %llu bytes", what,
                      static_cast<unsigned long long>(at - block), state, static_cast<unsigned long long>(page.size));
    }
    return complaint;
}

void* Allocate(std::size_t size) noexcept
{
    if (size > Size / 2)
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

std::size_t SizeOf(const void* block) noexcept
{
    const ArenaLock held;
    return LivePageOf(block).size;
}

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

std::size_t Allocations() noexcept
{
    const ArenaLock held;
    return g_arena.allocated;
}

} // namespace Zv::Testing::GuardArena
