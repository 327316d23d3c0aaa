#include "Simulator/Com/EventEnumerator.h"

#include "Simulator/Com/ClassObject.h"

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

void EventQueue::Put(ObjectPtr event)
{
    const LockGuard guard{m_lock};
    m_events.push_back(std::move(event));
    m_changed.NotifyAll();
}

std::vector<ObjectPtr> EventQueue::Take(std::size_t count, DWORD milliseconds)
{
    UniqueLock held{m_lock};
    static_cast<void>(m_changed.WaitFor(held, milliseconds, [&] { return m_closed || m_events.size() >= count; }));
    std::vector<ObjectPtr> taken;
    while (taken.size() < count && !m_events.empty())
    {
        taken.push_back(std::move(m_events.front()));
        m_events.pop_front();
    }
    return taken;
}

void EventQueue::Close() noexcept
{
    const LockGuard guard{m_lock};
    m_closed = true;
    m_changed.NotifyAll();
}

bool EventQueue::IsClosed() const
{
    const LockGuard guard{m_lock};
    return m_closed;
}

EventEnumerator::EventEnumerator(CorePtr core, ClassPtr definition, WqlFilter filter)
    : ComObject{std::move(core)},
      m_className{definition->name}
{
    GetCore().events->Subscribe({{}, std::move(definition), std::move(filter), m_queue, Gate().GetApartment()});
}

EventEnumerator::~EventEnumerator()
{
    GetCore().events->Forget(*m_queue);
}

HRESULT EventEnumerator::QueryInterface(REFIID iid, void** result)
{
    return QueryProxy<IEnumWbemClassObject>(Gate(), SharedCore(), Site::EnumeratorQueryInterface, *this, m_blanket, iid,
                                            result);
}

HRESULT EventEnumerator::Reset()
{
    return Status(WBEM_E_INVALID_OPERATION); // what is over does not come again
}

HRESULT EventEnumerator::Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned)
{
    if (objects == nullptr || returned == nullptr || timeout < -1)
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *returned = 0;
    return Gate().Call(Site::EnumeratorNext, m_className, [&]() -> HRESULT {
        if (const HRESULT hr = m_blanket->CheckAccess(); FAILED(hr))
        {
            return hr;
        }
        const std::vector<ObjectPtr> events = m_queue->Take(count, static_cast<DWORD>(timeout));
        std::vector<ComPtr<IWbemClassObject>> made;
        for (const ObjectPtr& event : events)
        {
            made.push_back(Present(SharedCore(), event));
        }
        for (ComPtr<IWbemClassObject>& object : made)
        {
            objects[(*returned)++] = object.Detach();
        }
        return *returned == count ? S_OK : Fewer();
    });
}

HRESULT EventEnumerator::NextAsync(ULONG, IWbemObjectSink*)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE); // who wants events in a sink subscribes one
}

HRESULT EventEnumerator::Clone(IEnumWbemClassObject**)
{
    return Status(WBEM_E_INVALID_OPERATION);
}

HRESULT EventEnumerator::Skip(LONG timeout, ULONG count)
{
    return Gate().Call(Site::EnumeratorSkip, m_className, [&]() -> HRESULT {
        if (const HRESULT hr = m_blanket->CheckAccess(); FAILED(hr))
        {
            return hr;
        }
        const bool all = m_queue->Take(count, static_cast<DWORD>(timeout)).size() == count;
        return all ? S_OK : Fewer();
    });
}

HRESULT EventEnumerator::Fewer() const
{
    return m_queue->IsClosed() ? Status(WBEM_E_SHUTTING_DOWN) : Status(WBEM_S_TIMEDOUT);
}

} // namespace Zv::Simulator
