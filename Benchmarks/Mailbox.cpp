#include "Benchmarks/Mailbox.h"

#include <windows.h>

#include <utility>

namespace Zv::Benchmarks
{

Mailbox::Mailbox(std::function<void(int id, int data)> onEvent)
    : m_onEvent{std::move(onEvent)},
      m_stop{CreateEventW(nullptr, TRUE, FALSE, nullptr)},
      m_arrived{CreateEventW(nullptr, TRUE, FALSE, nullptr)},
      m_thread{[this] { Deliver(); }}
{
}

Mailbox::~Mailbox()
{
    SetEvent(m_stop.Get());
}

void Mailbox::Put(int id, int data)
{
    {
        UniqueLock held{m_lock};
        m_freed.Wait(held, [this] { return !m_pending; });
        m_id = id;
        m_data = data;
        m_pending = true;
        SetEvent(m_arrived.Get());
    }
    m_filled.NotifyOne();
}

void Mailbox::Deliver()
{
    const HANDLE waited[] = {m_stop.Get(), m_arrived.Get()};
    while (WaitForMultipleObjects(2, waited, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
    {
        {
            UniqueLock held{m_lock};
            m_filled.Wait(held, [this] { return m_pending; });
        }
        m_onEvent(m_id, m_data);
        ResetEvent(m_arrived.Get()); // before the slot is free: the next event sets it again
        {
            const LockGuard held{m_lock};
            m_pending = false;
        }
        m_freed.NotifyOne();
    }
}

} // namespace Zv::Benchmarks
