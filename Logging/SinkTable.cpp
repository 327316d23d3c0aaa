#include "Logging/SinkTable.h"

#include <windows.h>

#include <algorithm>
#include <utility>

namespace Logging
{

namespace
{
using Zv::Tessel::Server::Shared::LockGuard;
using Zv::Tessel::Server::Shared::UniqueLock;
} // namespace

SinkId SinkTable::Add(Level least, SinkFunction* function, void* user, ReleaseFunction* release) noexcept
{
    if (function == nullptr)
    {
        return NoSink;
    }
    const LockGuard held{m_lock};
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [](const Entry& e) { return e.id == NoSink; });
    if (entry == m_entries.end())
    {
        return NoSink;
    }
    if (++m_lastId == NoSink)
    {
        ++m_lastId;
    }
    *entry = {m_lastId, least, function, user, release};
    UpdateLeast();
    return m_lastId;
}

void SinkTable::Remove(SinkId id) noexcept
{
    if (id == NoSink)
    {
        return;
    }
    Entry removed;
    {
        UniqueLock held{m_lock};
        const auto entry =
            std::find_if(m_entries.begin(), m_entries.end(), [id](const Entry& e) { return e.id == id; });
        if (entry == m_entries.end())
        {
            return;
        }
        removed = std::exchange(*entry, Entry{});
        UpdateLeast();
        m_callEnded.Wait(held, [&] { return !IsCalledByOthers(id); });
    }
    if (removed.release != nullptr)
    {
        removed.release(removed.user);
    }
}

bool SinkTable::IsEnabled(Level level) const noexcept
{
    return static_cast<int>(level) >= m_least.load(std::memory_order_relaxed);
}

void SinkTable::Write(const LogLine& line) noexcept
{
    for (Entry& place : m_entries)
    {
        Call call;
        Entry entry;
        {
            const LockGuard held{m_lock};
            entry = place;
            call = {entry.id, GetCurrentThreadId(), m_calls};
            // A sink that logs must not call itself for ever.
            if (entry.id == NoSink || line.level < entry.least || IsLogging(call.thread))
            {
                continue;
            }
            m_calls = &call;
        }
        entry.function(line, entry.user);
        End(call);
    }
}

void SinkTable::End(Call& call) noexcept
{
    const LockGuard held{m_lock};
    Call** link = &m_calls;
    while (*link != &call)
    {
        link = &(*link)->next;
    }
    *link = call.next;
    m_callEnded.NotifyAll();
}

void SinkTable::UpdateLeast() noexcept
{
    int least = NoLevel;
    for (const Entry& entry : m_entries)
    {
        if (entry.id != NoSink)
        {
            least = std::min(least, static_cast<int>(entry.least));
        }
    }
    m_least.store(least, std::memory_order_relaxed);
}

bool SinkTable::IsLogging(unsigned long thread) const noexcept
{
    for (const Call* call = m_calls; call != nullptr; call = call->next)
    {
        if (call->thread == thread)
        {
            return true;
        }
    }
    return false;
}

bool SinkTable::IsCalledByOthers(SinkId id) const noexcept
{
    const unsigned long self = GetCurrentThreadId();
    for (const Call* call = m_calls; call != nullptr; call = call->next)
    {
        if (call->sink == id && call->thread != self)
        {
            return true;
        }
    }
    return false;
}

} // namespace Logging
