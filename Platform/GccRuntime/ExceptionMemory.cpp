// Memory for exceptions in builds with GCC, which must not itself need memory that has run out.
//
// GCC's run time takes an exception's memory from a reserve when malloc fails, but its way there locks a mutex that
// allocates on first use, and its record of a thread's exceptions is made by the thread's first one. When malloc goes
// on failing, either ends the process. The functions below take the place of the run time's own (the linker leaves
// those out of the module): they fall back on static reserves and allocate nothing besides.
#if defined(__GNUC__) && !defined(_MSC_VER)

#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

// Of the MinGW-w64 run time: what is done with a slot's value at a thread's end.
extern "C" int __mingwthr_key_dtor(DWORD key, void (*destructor)(void*));
extern "C" int __mingwthr_remove_key_dtor(DWORD key);

namespace
{

using Zv::Tessel::Server::Shared::Lock;
using Zv::Tessel::Server::Shared::LockGuard;

// Blocks of one size that are there from the start.
template <std::size_t Size, std::size_t Count>
class Reserve
{
public:
    // Null when all are in use.
    void* Take() noexcept
    {
        const LockGuard held{m_lock};
        for (std::size_t i = 0; i < Count; ++i)
        {
            if (!m_taken[i])
            {
                m_taken[i] = true;
                return m_blocks[i].bytes;
            }
        }
        return nullptr;
    }

    // False when the block is none of these.
    bool GiveBack(void* memory) noexcept
    {
        auto* const block = static_cast<Block*>(memory);
        if (block < m_blocks.data() || block >= m_blocks.data() + Count)
        {
            return false;
        }
        const LockGuard held{m_lock};
        m_taken[static_cast<std::size_t>(block - m_blocks.data())] = false;
        return true;
    }

private:
    struct alignas(16) Block
    {
        std::byte bytes[Size];
    };

    Lock m_lock;
    std::array<bool, Count> m_taken{}; // guarded by m_lock
    std::array<Block, Count> m_blocks{};
};

// What stands in front of a thrown object (__cxa_refcounted_exception) and of a reference to one
// (__cxa_dependent_exception), in bytes: part of the C++ ABI of 64-bit Windows with structured exceptions.
constexpr std::size_t ExceptionHeaderSize = 0xa0;
constexpr std::size_t DependentExceptionSize = 0x90;

// A thread's caught and uncaught exceptions, as the C++ ABI lays them out (__cxa_eh_globals), and what finds them.
struct ThreadExceptions
{
    void* caught = nullptr;
    unsigned int uncaught = 0;
    const DWORD thread = GetCurrentThreadId();
    ThreadExceptions* next = nullptr;
};

constexpr std::size_t LargestReservedException = 512; // larger than any that the module throws
constexpr std::size_t ReservedExceptions = 64;
constexpr std::size_t ReservedThreads = 256;

Reserve<LargestReservedException, ReservedExceptions> g_exceptions;
Reserve<sizeof(ThreadExceptions), ReservedThreads> g_threads;

void* Allocate(std::size_t size) noexcept
{
    void* memory = std::malloc(size);
    if (memory == nullptr && size <= LargestReservedException)
    {
        memory = g_exceptions.Take();
    }
    if (memory == nullptr)
    {
        std::terminate();
    }
    return memory;
}

void Free(void* memory) noexcept
{
    if (!g_exceptions.GiveBack(memory))
    {
        std::free(memory);
    }
}

// Exceptions come and go between two calls whose error code is of interest.
class LastErrorKeeper
{
public:
    LastErrorKeeper() noexcept = default;
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;
    ~LastErrorKeeper() { SetLastError(m_error); }

private:
    DWORD m_error = GetLastError();
};

// The records of all threads that have raised an exception. Each finds its own by a thread-local slot, or else by the
// thread's number: where no slot was left, or no memory for what is put into it.
class ThreadRecords
{
public:
    ThreadRecords() noexcept : m_slot{TlsAlloc()} { __mingwthr_key_dtor(m_slot, &FreeAtEndOfThread); }
    ThreadRecords(const ThreadRecords&) = delete;
    ThreadRecords& operator=(const ThreadRecords&) = delete;
    // Threads that go on when the module is unloaded cannot free theirs. Nobody else runs the module's code by now.
    ~ThreadRecords()
    {
        __mingwthr_remove_key_dtor(m_slot);
        while (m_first != nullptr)
        {
            FreeRecord(std::exchange(m_first, m_first->next));
        }
        TlsFree(m_slot);
    }

    ThreadExceptions& OfThisThread() noexcept
    {
        const LastErrorKeeper keeper;
        auto* record = static_cast<ThreadExceptions*>(TlsGetValue(m_slot));
        if (record == nullptr)
        {
            record = Find(GetCurrentThreadId());
            if (record == nullptr)
            {
                record = Add();
            }
            TlsSetValue(m_slot, record);
        }
        return *record;
    }

private:
    // Runs on the thread whose record it is. When the module is unloaded that is once before static objects go and,
    // for what they raised meanwhile, once after: the slot must not keep what was freed.
    static void FreeAtEndOfThread(void* record) noexcept;

    static void FreeRecord(ThreadExceptions* record) noexcept
    {
        if (!g_threads.GiveBack(record))
        {
            std::free(record);
        }
    }

    ThreadExceptions* Find(DWORD thread) noexcept
    {
        const LockGuard held{m_lock};
        ThreadExceptions* record = m_first;
        while (record != nullptr && record->thread != thread)
        {
            record = record->next;
        }
        return record;
    }

    ThreadExceptions* Add() noexcept
    {
        void* memory = std::malloc(sizeof(ThreadExceptions));
        if (memory == nullptr)
        {
            memory = g_threads.Take();
        }
        if (memory == nullptr)
        {
            std::terminate();
        }
        auto* const record = ::new (memory) ThreadExceptions;
        const LockGuard held{m_lock};
        record->next = m_first;
        m_first = record;
        return record;
    }

    void Remove(const ThreadExceptions* record) noexcept
    {
        const LockGuard held{m_lock};
        ThreadExceptions** link = &m_first;
        while (*link != record)
        {
            link = &(*link)->next;
        }
        *link = record->next;
    }

    const DWORD m_slot;
    Lock m_lock;
    ThreadExceptions* m_first = nullptr; // guarded by m_lock
};

// There from the first to the last moment in which the module's code runs: other static objects may raise exceptions.
[[gnu::init_priority(101)]] ThreadRecords g_records;

void ThreadRecords::FreeAtEndOfThread(void* memory) noexcept
{
    if (auto* const record = static_cast<ThreadExceptions*>(memory); record != nullptr)
    {
        TlsSetValue(g_records.m_slot, nullptr);
        g_records.Remove(record);
        FreeRecord(record);
    }
}

} // namespace

namespace __cxxabiv1
{

extern "C"
{

    void* __cxa_get_globals() noexcept
    {
        return &g_records.OfThisThread();
    }

    void* __cxa_get_globals_fast() noexcept
    {
        return &g_records.OfThisThread();
    }

    void* __cxa_allocate_exception(std::size_t size) noexcept
    {
        auto* const memory = static_cast<std::byte*>(Allocate(size + ExceptionHeaderSize));
        std::memset(memory, 0, ExceptionHeaderSize);
        return memory + ExceptionHeaderSize;
    }

    void __cxa_free_exception(void* thrown) noexcept
    {
        Free(static_cast<std::byte*>(thrown) - ExceptionHeaderSize);
    }

    void* __cxa_allocate_dependent_exception() noexcept
    {
        void* const memory = Allocate(DependentExceptionSize);
        std::memset(memory, 0, DependentExceptionSize);
        return memory;
    }

    void __cxa_free_dependent_exception(void* exception) noexcept
    {
        Free(exception);
    }

} // extern "C"

} // namespace __cxxabiv1

#endif
