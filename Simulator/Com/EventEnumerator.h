// IEnumWbemClassObject over events that are still to come.
#pragma once

#include "Simulator/Com/ClientSecurity.h"
#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

#include <deque>
#include <memory>

namespace Zv::Simulator
{

// The events that one enumerator has not handed out yet. Safe on several threads.
class EventQueue
{
public:
    void Put(ObjectPtr event);
    // Up to `count`; fewer when no more come within the time, or at all.
    [[nodiscard]] std::vector<ObjectPtr> Take(std::size_t count, DWORD milliseconds);
    // The machine is gone: no more will come.
    void Close() noexcept;
    [[nodiscard]] bool IsClosed() const;

private:
    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed;
    std::deque<ObjectPtr> m_events; // guarded by m_lock
    bool m_closed = false;          // guarded by m_lock
};

// Its subscription ends with it. Safe on several threads.
class EventEnumerator final : public ComObject<IEnumWbemClassObject, ObjectKind::Enumerator>
{
public:
    // Subscribes. Throws std::bad_alloc or std::system_error.
    EventEnumerator(CorePtr core, ClassPtr definition, WqlFilter filter);
    ~EventEnumerator() override;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) override;
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG count, IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE Skip(LONG timeout, ULONG count) override;

private:
    [[nodiscard]] HRESULT Fewer() const; // the status of a call that did not get all that it wanted

    const std::shared_ptr<EventQueue> m_queue = std::make_shared<EventQueue>();
    const std::wstring m_className;
    const std::shared_ptr<Blanket> m_blanket = std::make_shared<Blanket>(GetCore().description.security);
};

} // namespace Zv::Simulator
