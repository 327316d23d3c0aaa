#include "Tests/Races/Scheduler.h"

#include "Tests/Support/Watchdog.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

namespace Zv::Testing
{

using Tessel::Server::Shared::UniqueLock;

namespace
{

// One call in so many is the end of a turn; the others go on.
constexpr std::size_t CallsPerTurn = 3;

// One turn in so many ends with a call that takes long: the others get up to so many turns meanwhile.
constexpr std::size_t TurnsPerDelay = 40;
constexpr std::size_t LongestDelay = 400;

// In vain in a row: nobody will ever get further.
constexpr std::size_t LongestIdling = 20'000;

thread_local std::size_t t_index = 0;
thread_local bool t_takesPart = false;

} // namespace

Scheduler::Scheduler(std::uint64_t seed) : m_seed{seed}, m_random{seed} {}

void Scheduler::Run(const std::vector<std::function<void()>>& bodies)
{
    m_threads.clear();
    for (std::size_t index = 0; index < bodies.size(); ++index)
    {
        m_threads.push_back(std::make_unique<Thread>());
    }
    m_current = Choose(bodies.size());
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < bodies.size(); ++index)
    {
        threads.emplace_back([this, index, &bodies] {
            t_index = index;
            t_takesPart = true;
            {
                UniqueLock held{m_lock};
                m_threads[index]->turn.Wait(held, [&] { return m_current == index; });
            }
            bodies[index]();
            End();
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

std::size_t Scheduler::Choose(std::size_t limit)
{
    return static_cast<std::size_t>(m_random() % limit);
}

void Scheduler::WaitUntil(std::string_view what, const std::function<bool()>& holds)
{
    Poll(what, holds);
}

bool Scheduler::Answers(const GatedImport& import, const CallArguments& arguments, std::uint64_t& result) noexcept
{
    if (!t_takesPart)
    {
        return false;
    }
    const DWORD lastError = GetLastError();
    ++m_threads[t_index]->calls;
    bool answered = true;
    // NOLINTBEGIN(performance-no-int-to-ptr): arguments come as the registers held them
    if (import.name == "AcquireSRWLockExclusive")
    {
        auto* const lock = reinterpret_cast<SRWLOCK*>(arguments.first);
        Poll("a lock", [lock] { return TryAcquireSRWLockExclusive(lock) != FALSE; });
    }
    else if (import.name == "SleepConditionVariableSRW")
    {
        // Wakes without a reason, as it may.
        auto* const lock = reinterpret_cast<SRWLOCK*>(arguments.second);
        ReleaseSRWLockExclusive(lock);
        ++m_idle;
        PassTurn();
        Poll("a lock after a wait", [lock] { return TryAcquireSRWLockExclusive(lock) != FALSE; });
        result = TRUE;
    }
    else if (import.name == "WaitForMultipleObjects")
    {
        Poll("events", [&] {
            result = WaitForMultipleObjects(static_cast<DWORD>(arguments.first),
                                            reinterpret_cast<const HANDLE*>(arguments.second),
                                            static_cast<BOOL>(arguments.third), 0);
            return result != WAIT_TIMEOUT;
        });
    }
    // NOLINTEND(performance-no-int-to-ptr)
    else if (import.name == "Sleep")
    {
        Poll("a pause", [over = false]() mutable { return std::exchange(over, true); });
    }
    else
    {
        answered = false;
        m_idle = 0;
        if (Choose(CallsPerTurn) == 0)
        {
            if (Choose(TurnsPerDelay) == 0)
            {
                m_threads[t_index]->delayedUntil = m_turns + Choose(LongestDelay);
            }
            PassTurn();
        }
    }
    SetLastError(lastError);
    return answered;
}

template <class Try>
void Scheduler::Poll(std::string_view what, Try attempt)
{
    Thread& self = *m_threads[t_index];
    while (!attempt())
    {
        self.waitsFor = what;
        if (++m_idle > LongestIdling)
        {
            Deadlock();
        }
        PassTurn();
    }
    self.waitsFor = {};
}

std::size_t Scheduler::Next()
{
    ++m_turns;
    std::vector<std::size_t> ready;
    std::vector<std::size_t> alive;
    for (std::size_t index = 0; index < m_threads.size(); ++index)
    {
        const Thread& thread = *m_threads[index];
        if (thread.alive)
        {
            alive.push_back(index);
        }
        if (thread.alive && thread.delayedUntil <= m_turns)
        {
            ready.push_back(index);
        }
    }
    const std::vector<std::size_t>& candidates = ready.empty() ? alive : ready;
    return candidates[Choose(candidates.size())];
}

void Scheduler::PassTurn()
{
    const std::size_t next = Next();
    if (next == t_index)
    {
        return;
    }
    ++m_switches;
    UniqueLock held{m_lock};
    m_current = next;
    m_threads[next]->turn.NotifyOne();
    m_threads[t_index]->turn.Wait(held, [this] { return m_current == t_index; });
}

void Scheduler::End()
{
    t_takesPart = false;
    m_threads[t_index]->alive = false;
    m_idle = 0;
    if (std::ranges::none_of(m_threads, [](const auto& thread) { return thread->alive; }))
    {
        return;
    }
    const UniqueLock held{m_lock};
    m_current = Next();
    m_threads[m_current]->turn.NotifyOne();
}

void Scheduler::Deadlock() const
{
    std::fprintf(stderr, "seed %llu: nobody gets any further\n", static_cast<unsigned long long>(m_seed));
    for (std::size_t index = 0; index < m_threads.size(); ++index)
    {
        const Thread& thread = *m_threads[index];
        std::fprintf(stderr, "  thread %zu: %s\n", index,
                     !thread.alive             ? "has ended"
                     : thread.waitsFor.empty() ? "waits for a condition"
                                               : std::string{thread.waitsFor}.c_str());
    }
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), WatchdogExitCode);
    std::abort();
}

} // namespace Zv::Testing
