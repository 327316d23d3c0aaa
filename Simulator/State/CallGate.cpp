#include "Simulator/State/CallGate.h"

#include <utility>

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

CallGate::CallGate(const std::vector<Fault>& faults)
{
    for (const Fault& fault : faults)
    {
        m_faults.push_back({fault});
    }
    m_faulty = !m_faults.empty();
}

CallGate::Effect CallGate::Enter(Site site, std::wstring_view about)
{
    m_counts[static_cast<std::size_t>(site)].fetch_add(1, std::memory_order_relaxed);
    if (!m_faulty)
    {
        return {};
    }
    const LockGuard guard{m_lock};
    Effect effect;
    bool struck = false;
    for (LiveFault& live : m_faults)
    {
        const Fault& fault = live.fault;
        if (fault.site != site || (!fault.about.empty() && !EqualNoCase(fault.about, about)))
        {
            continue;
        }
        ++live.seen;
        const bool strikes = live.seen >= fault.first && (fault.count == 0 || live.seen - fault.first < fault.count);
        if (strikes && !struck) // the first fault in the list wins; the others count all the same
        {
            effect = {fault.status, fault.delay, fault.hang, fault.done, fault.empty};
            struck = true;
        }
    }
    return effect;
}

bool CallGate::Wait(DWORD delay, bool hang, DWORD limit)
{
    if (delay == 0 && !hang)
    {
        return true;
    }
    const bool tooLong = limit != INFINITE && (hang || delay > limit);
    UniqueLock held{m_lock};
    if (hang && !tooLong)
    {
        m_released.Wait(held, [&] { return m_hangsReleased; });
        return true;
    }
    const bool released = m_released.WaitFor(held, tooLong ? limit : delay, [&] { return m_hangsReleased; });
    return released || !tooLong;
}

std::size_t CallGate::Record(Site site, std::wstring_view about, std::wstring detail)
{
    const LockGuard guard{m_lock};
    m_records.push_back({site, std::wstring{about}, std::move(detail), S_OK, GetCurrentThreadId()});
    return m_records.size() - 1;
}

void CallGate::Finish(std::size_t record, HRESULT status) noexcept
{
    if (record != NoRecord)
    {
        const LockGuard guard{m_lock};
        if (record < m_records.size()) // else the records were cleared meanwhile
        {
            m_records[record].status = status;
        }
    }
}

void CallGate::SetRecording(bool on)
{
    const LockGuard guard{m_lock};
    m_records.clear();
    m_recording = on;
}

std::vector<CallRecord> CallGate::Records() const
{
    const LockGuard guard{m_lock};
    return m_records;
}

std::size_t CallGate::Count(Site site) const noexcept
{
    return m_counts[static_cast<std::size_t>(site)].load(std::memory_order_relaxed);
}

void CallGate::Add(const Fault& fault)
{
    const LockGuard guard{m_lock};
    m_faults.push_back({fault});
    m_faulty = true;
}

void CallGate::ClearFaults()
{
    const LockGuard guard{m_lock};
    m_faults.clear();
    m_faulty = false;
}

void CallGate::ReleaseHangs() noexcept
{
    {
        const LockGuard guard{m_lock};
        m_hangsReleased = true;
    }
    m_released.NotifyAll();
}

} // namespace Zv::Simulator
