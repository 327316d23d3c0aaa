#include "Tests/Support/FakeEvents.h"

#include "Tests/Support/FakeCom.h"

#include <algorithm>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;
using Sink = EventSource::Sink;

Sink Share(IWbemObjectSink* sink)
{
    sink->AddRef();
    return Sink{sink};
}

// Stands for a sink, as the unsecured apartment's stubs do.
class FakeStub final : public FakeCom<IWbemObjectSink>
{
public:
    FakeStub(std::shared_ptr<FakeWmiState> state, Sink sink)
        : FakeCom{std::move(state), "Stub"},
          m_sink{std::move(sink)}
    {
    }

    STDMETHODIMP Indicate(LONG count, IWbemClassObject** objects) override { return m_sink->Indicate(count, objects); }
    STDMETHODIMP SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object) override
    {
        return m_sink->SetStatus(flags, result, text, object);
    }

    [[nodiscard]] Sink Inner() const { return Share(m_sink.Get()); }

private:
    ~FakeStub() override = default;

    Sink m_sink;
};

class FakeApartment final : public FakeCom<IUnsecuredApartment>
{
public:
    explicit FakeApartment(std::shared_ptr<FakeWmiState> state) : FakeCom{std::move(state), "IUnsecuredApartment"} {}

    STDMETHODIMP CreateObjectStub(IUnknown* object, IUnknown** stub) override
    {
        return Perform("CreateObjectStub", ShowAll(object), [&] {
            Sink sink;
            const HRESULT hr = object->QueryInterface(IID_IWbemObjectSink, sink.ReceiveVoid());
            if (SUCCEEDED(hr))
            {
                *stub = new FakeStub{SharedState(), std::move(sink)};
            }
            return hr;
        });
    }

private:
    ~FakeApartment() override = default;
};

} // namespace

HRESULT EventSource::Emit(LONG count, IWbemClassObject** objects)
{
    HRESULT hr = S_OK;
    for (const Sink& sink : Sinks())
    {
        hr = sink->Indicate(count, objects);
    }
    return hr;
}

std::size_t EventSource::Subscriptions() const
{
    const LockGuard held{m_lock};
    return m_sinks.size();
}

void EventSource::WaitForSubscriptions(std::size_t count)
{
    UniqueLock held{m_lock};
    m_changed.Wait(held, [&] { return m_sinks.size() == count; });
}

Sink EventSource::ModuleSink() const
{
    const LockGuard held{m_lock};
    return m_sinks.empty() ? Sink{} : static_cast<FakeStub*>(m_sinks.back().Get())->Inner();
}

void EventSource::Subscribe(IWbemObjectSink* sink)
{
    const LockGuard held{m_lock};
    m_sinks.push_back(Share(sink));
    m_changed.NotifyAll();
}

bool EventSource::Cancel(IWbemObjectSink* sink)
{
    Sink cancelled;
    {
        const LockGuard held{m_lock};
        const auto found =
            std::find_if(m_sinks.begin(), m_sinks.end(), [sink](const Sink& s) { return s.Get() == sink; });
        if (found == m_sinks.end())
        {
            return false;
        }
        cancelled = std::move(*found);
        m_sinks.erase(found);
        m_changed.NotifyAll();
    }
    cancelled->SetStatus(WBEM_STATUS_COMPLETE, static_cast<HRESULT>(WBEM_E_CALL_CANCELLED), nullptr, nullptr);
    return true;
}

std::vector<Sink> EventSource::Sinks() const
{
    const LockGuard held{m_lock};
    std::vector<Sink> sinks;
    for (const Sink& sink : m_sinks)
    {
        sinks.push_back(Share(sink.Get()));
    }
    return sinks;
}

ObjectScriptPtr FirmwareEvent(Value id, Value data)
{
    return Instance(L"zvqBEvnt", {{L"EventID", std::move(id)}, {L"EventData", std::move(data)}});
}

ObjectScriptPtr FirmwareEvent(std::int32_t id, std::int32_t data)
{
    return FirmwareEvent(Value::Int(id), Value::Int(data));
}

HRESULT CreateFakeApartment(std::shared_ptr<FakeWmiState> state, REFIID iid, void** object)
{
    auto* const apartment = new FakeApartment{std::move(state)};
    const HRESULT hr = apartment->QueryInterface(iid, object);
    apartment->Release();
    return hr;
}

} // namespace Zv::Testing
