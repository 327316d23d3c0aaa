// A mutex and a condition variable over SRWLOCK and CONDITION_VARIABLE. They allocate nothing and cannot fail, which
// the standard ones of GCC's run time do not promise, so that they may be used in COM callbacks and destructors.
#pragma once

#include <windows.h>

#include <mutex>

namespace Zv::Tessel::Server::Shared
{

// Not recursive. Works with std::lock_guard, std::unique_lock and, for those who only read, std::shared_lock.
class Lock
{
public:
    Lock() noexcept = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() = default;

    void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }
    void lock_shared() noexcept { AcquireSRWLockShared(&m_lock); }
    void unlock_shared() noexcept { ReleaseSRWLockShared(&m_lock); }

private:
    friend class Condition;
    SRWLOCK m_lock = SRWLOCK_INIT;
};

using LockGuard = std::lock_guard<Lock>;
using UniqueLock = std::unique_lock<Lock>;

class Condition
{
public:
    Condition() noexcept = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;
    ~Condition() = default;

    // Waits without limit until ready() holds; the lock is held whenever ready is called and on return.
    template <class Predicate>
    void Wait(UniqueLock& held, Predicate ready)
    {
        while (!ready())
        {
            SleepConditionVariableSRW(&m_condition, &held.mutex()->m_lock, INFINITE, 0);
        }
    }

    // The same for so many milliseconds at most; whether ready() holds.
    template <class Predicate>
    [[nodiscard]] bool WaitFor(UniqueLock& held, DWORD milliseconds, Predicate ready)
    {
        const ULONGLONG end = GetTickCount64() + milliseconds;
        for (ULONGLONG now = GetTickCount64(); !ready() && now < end; now = GetTickCount64())
        {
            SleepConditionVariableSRW(&m_condition, &held.mutex()->m_lock, static_cast<DWORD>(end - now), 0);
        }
        return ready();
    }

    void NotifyOne() noexcept { WakeConditionVariable(&m_condition); }
    void NotifyAll() noexcept { WakeAllConditionVariable(&m_condition); }

private:
    CONDITION_VARIABLE m_condition = CONDITION_VARIABLE_INIT;
};

} // namespace Zv::Tessel::Server::Shared
