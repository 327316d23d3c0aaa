#include "Shared/WMI/Mailbox.h"

namespace Zv::Tessel::Server::Shared::WMI
{

Mailbox::Mailbox()
{
    SetRecord(0, 0);
    eventRecord.RemoveAllMembers(); // keeps their memory
}

void Mailbox::Close() noexcept
{
    const LockGuard held{lock};
    closed = true;
    slotFreed.NotifyAll();
}

void Mailbox::EndDelivery() noexcept
{
    {
        const LockGuard held{lock};
        sessionEnded = true;
    }
    cond.NotifyAll();
}

void Mailbox::SetRecord(int eventId, int eventData)
{
    eventRecord.RemoveAllMembers(); // keeps their memory
    eventRecord.AddMember(L"eventId", eventId, eventRecord.GetAllocator());
    eventRecord.AddMember(L"eventData", eventData, eventRecord.GetAllocator());
}

Mailbox::Turn::Turn(Mailbox& at) noexcept : m_mailbox{at}, m_held{at.lock}
{
    m_mailbox.slotFreed.Wait(m_held, [this] { return !m_mailbox.pending || m_mailbox.closed; });
}

Mailbox::Turn::~Turn()
{
    const bool announced = m_mailbox.pending;
    m_held.unlock();
    (announced ? m_mailbox.cond : m_mailbox.slotFreed).NotifyOne();
}

Mailbox::Delivery::Delivery(Mailbox& from) noexcept : m_mailbox{from}
{
    UniqueLock held{m_mailbox.lock};
    m_mailbox.cond.Wait(held, [this] { return m_mailbox.pending || m_mailbox.sessionEnded; });
    m_hasEvent = m_mailbox.pending;
}

Mailbox::Delivery::~Delivery()
{
    if (m_hasEvent)
    {
        {
            const LockGuard held{m_mailbox.lock};
            m_mailbox.pending = false;
        }
        m_mailbox.slotFreed.NotifyOne();
    }
}

} // namespace Zv::Tessel::Server::Shared::WMI
