// Firmware events, delivered through the subscriptions that the module makes.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Lock.h"
#include "Tests/Support/FakeWmi.h"

#include <wbemidl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Zv::Testing
{

// Where the subscriptions of a scripted namespace end up. Set NamespaceScript::events to it. Any thread may use it.
class EventSource
{
public:
    using Sink = Tessel::Server::Shared::WMI::ComPtr<IWbemObjectSink>;

    EventSource() = default;
    EventSource(const EventSource&) = delete;
    EventSource& operator=(const EventSource&) = delete;

    // Delivers the objects with one call to each subscription, one after the other, on the calling thread. Returns what
    // the last one returned. What a sink throws comes out.
    HRESULT Emit(LONG count, IWbemClassObject** objects);

    [[nodiscard]] std::size_t Subscriptions() const;
    // Waits until there are that many.
    void WaitForSubscriptions(std::size_t count);

    // What the module passed to CreateObjectStub last, as long as WMI would hold it.
    [[nodiscard]] Sink ModuleSink() const;

    // For the scripted services.
    void Subscribe(IWbemObjectSink* sink);
    bool Cancel(IWbemObjectSink* sink); // false when there is no such subscription

private:
    [[nodiscard]] std::vector<Sink> Sinks() const;

    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed;
    std::vector<Sink> m_sinks; // guarded by m_lock; stubs
};

// An instance of the firmware's event class. A null value leaves the property out.
[[nodiscard]] ObjectScriptPtr FirmwareEvent(Value id, Value data);
[[nodiscard]] ObjectScriptPtr FirmwareEvent(std::int32_t id, std::int32_t data);

// A scripted unsecured apartment.
HRESULT CreateFakeApartment(std::shared_ptr<FakeWmiState> state, REFIID iid, void** object);

} // namespace Zv::Testing
