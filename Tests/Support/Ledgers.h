// What the module holds: heap blocks, kernel handles and tokens, environment blocks, threads, joins of COM,
// holds on its multithreaded apartment, impersonation.
#pragma once

#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace Zv::Testing
{

// Things that are taken and given back, by address or handle.
class Ledger
{
public:
    void Taken(const void* thing, std::wstring note);
    // Giving back what was not taken while the ledger ran (a block from before, say) changes nothing.
    void Given(const void* thing);

    // Forgets what `isGone` says was given back behind the ledger's back.
    void ForgetIf(const std::function<bool(const void* thing)>& isGone);

    [[nodiscard]] std::size_t Count() const;
    // The notes of what is held, in the order in which it was taken.
    [[nodiscard]] std::vector<std::wstring> Held() const;

private:
    struct Entry
    {
        std::size_t order;
        std::wstring note;
    };

    mutable Tessel::Server::Shared::Lock m_lock;
    std::size_t m_order = 0;                         // guarded by m_lock
    std::unordered_map<const void*, Entry> m_things; // guarded by m_lock
};

// Threads that were started. Safe on several threads.
class Threads
{
public:
    Threads() = default;
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
    ~Threads();

    void Started(HANDLE thread);
    [[nodiscard]] std::size_t Running() const;

private:
    mutable Tessel::Server::Shared::Lock m_lock;
    std::vector<HANDLE> m_threads; // duplicates; guarded by m_lock
};

// Joins of COM less leaves, of each thread: nobody can leave for another.
class ComJoins
{
public:
    // By the calling thread.
    void Joined() { Add(1); }
    void Left() { Add(-1); }

    // What the calling thread has not left; below 0 when it has left too often.
    [[nodiscard]] int OfThisThread() const;
    // The same; its account is clear from here on.
    int Take();
    // Sets what one thread has left too often against what others have not left, where by contract whoever gives up the
    // session last leaves COM: the accounts are clear when all of them together are even.
    void Offset();

    // "thread 1: 1, thread 2: -1", in the order of their first call; empty when all accounts are even.
    [[nodiscard]] std::wstring Uneven() const;

private:
    void Add(int joins);

    mutable Tessel::Server::Shared::Lock m_lock;
    std::map<unsigned int, int> m_accounts; // by a number that no other thread has ever had; guarded by m_lock
};

struct Ledgers
{
    Ledger heap;
    Ledger handles; // of events, tokens, processes, threads
    Ledger environments;
    Threads threads;
    Ledger uuidTexts;                        // of UuidToStringW
    Ledger mtaUsages;                        // cookies of CoIncrementMTAUsage
    ComJoins comJoins;                       // CoInitializeEx that succeeded less CoUninitialize
    std::atomic<int> impersonations = 0;     // ImpersonateLoggedOnUser that succeeded less RevertToSelf
    std::atomic<int> accessedSafeArrays = 0; // SafeArrayAccessData less SafeArrayUnaccessData

    // One line per kind of thing that is still held; empty when there is nothing.
    [[nodiscard]] std::wstring Outstanding() const;
};

// Memory of COM's task allocator in the whole process, whoever asked for it: BSTRs, SAFEARRAYs, CoTaskMemAlloc.
class ComMemory
{
public:
    // Starts watching in this process, once; blocks from before are not counted.
    static void Watch();
    // Blocks that live now.
    [[nodiscard]] static long Blocks();
};

} // namespace Zv::Testing
