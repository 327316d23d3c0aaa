#include "Tests/Simulator/Sink.h"

#include "Tests/Simulator/Client.h"

#include <stdexcept>

namespace Zv::Testing
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

Sink::~Sink()
{
    UniqueLock held{m_lock};
    m_changed.Wait(held, [&] { return m_references == 0; }); // the test's watchdog is the limit
}

ULONG Sink::Release()
{
    const LockGuard guard{m_lock};
    const int left = --m_references;
    m_changed.NotifyAll();
    return static_cast<ULONG>(left);
}

void Sink::Block()
{
    const LockGuard guard{m_lock};
    m_blocked = true;
}

void Sink::Unblock()
{
    const LockGuard guard{m_lock};
    m_blocked = false;
    m_changed.NotifyAll();
}

std::vector<std::wstring> Sink::Events() const
{
    const LockGuard guard{m_lock};
    return m_events;
}

std::vector<std::wstring> Sink::Statuses() const
{
    const LockGuard guard{m_lock};
    return m_statuses;
}

bool Sink::WaitForCalls(std::size_t count, DWORD milliseconds)
{
    UniqueLock held{m_lock};
    return m_changed.WaitFor(held, milliseconds, [&] { return m_calls >= count; });
}

bool Sink::WaitForEvents(std::size_t count, DWORD milliseconds)
{
    UniqueLock held{m_lock};
    return m_changed.WaitFor(held, milliseconds, [&] { return m_events.size() >= count; });
}

bool Sink::WaitForStatuses(std::size_t count, DWORD milliseconds)
{
    UniqueLock held{m_lock};
    return m_changed.WaitFor(held, milliseconds, [&] { return m_statuses.size() >= count; });
}

HRESULT Sink::QueryInterface(REFIID iid, void** result)
{
    if (iid != IID_IUnknown && iid != IID_IWbemObjectSink)
    {
        return E_NOINTERFACE;
    }
    *result = this;
    AddRef();
    return S_OK;
}

HRESULT Sink::Indicate(LONG count, IWbemClassObject** objects)
{
    if (m_throws)
    {
        throw std::runtime_error{"as asked"};
    }
    std::vector<std::wstring> events;
    for (LONG i = 0; i < count; ++i)
    {
        events.push_back(Show(*objects[i], L"EventID") + L", " + Show(*objects[i], L"EventData"));
    }
    UniqueLock held{m_lock};
    ++m_calls;
    m_changed.NotifyAll();
    m_changed.Wait(held, [&] { return !m_blocked; });
    m_events.insert(m_events.end(), events.begin(), events.end());
    m_changed.NotifyAll();
    return S_OK;
}

HRESULT Sink::SetStatus(LONG flags, HRESULT status, BSTR, IWbemClassObject*)
{
    const LockGuard guard{m_lock};
    m_statuses.push_back(std::to_wstring(flags) + L", " + StatusText(status));
    m_changed.NotifyAll();
    return S_OK;
}

} // namespace Zv::Testing
