// Something that happens on one thread and that another waits for.
#pragma once

#include "Platform/Windows/Lock.h"

namespace Zv::Testing
{

class Counter
{
public:
    void Add()
    {
        const Tessel::Server::Shared::LockGuard held{m_lock};
        ++m_count;
        m_changed.NotifyAll();
    }

    [[nodiscard]] int Count() const
    {
        const Tessel::Server::Shared::LockGuard held{m_lock};
        return m_count;
    }

    // Waits until it happened that often.
    void WaitFor(int count)
    {
        Tessel::Server::Shared::UniqueLock held{m_lock};
        m_changed.Wait(held, [&] { return m_count >= count; });
    }

private:
    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed;
    int m_count = 0; // guarded by m_lock
};

} // namespace Zv::Testing
