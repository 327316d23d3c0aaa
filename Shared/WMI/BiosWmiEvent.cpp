#include "Shared/WMI/BiosWmiEvent.h"

#include "Platform/Com/Bstr.h"
#include "Shared/Log/TypeName.h"
#include "Shared/WMI/BiosWmiEventSink.h"
#include "Shared/WMI/FirmwareNames.h"
#include "Shared/WMI/WmiCall.h"
#include "Shared/WMI/WmiConnection.h"

#include <wbemcli.h>

#include <list>

namespace Zv::Tessel::Server::Shared::WMI
{

namespace
{

constexpr const char* Method = "SetupSink"; // of every log line here

constexpr const char* QueryLanguage = "WQL";

} // namespace

BiosWmiEvent::BiosWmiEvent() : logger{Logging::LogManager::GetLogger()}, className{ClassName<BiosWmiEvent>()} {}

BiosWmiEvent::~BiosWmiEvent()
{
    const LockGuard held{lock};
    if (active)
    {
        ReleaseSubscription();
    }
}

HRESULT BiosWmiEvent::SetupSink(const wchar_t* eventName, const wchar_t* logContext)
{
    const LockGuard held{lock};
    if (active)
    {
        return S_OK;
    }

    // Without a subscription all six interface pointers are null.
    try
    {
        const ClassLog log{logger, className, logContext};
        HRESULT hr = Connect(log);
        if (SUCCEEDED(hr))
        {
            hr = Subscribe(eventName, logContext, log);
        }
        active = SUCCEEDED(hr);
        if (active)
        {
            mtaUsage.Take();
        }
        else
        {
            ReleaseSubscription();
        }
        return hr;
    }
    catch (...)
    {
        ReleaseSubscription();
        throw;
    }
}

HRESULT BiosWmiEvent::Connect(const ClassLog& log)
{
    JoinMultithreadedApartment(log, Method);
    SetProcessSecurity(log, Method);
    HRESULT hr = CreateLocator(log, Method, locator);
    if (FAILED(hr))
    {
        return hr;
    }
    const Bstr path{FirmwareNamespace};
    hr = ConnectServer(*locator.Get(), path, services);
    hr = Checked(hr, services.Get(), log, Method, ConnectServerCall);
    if (FAILED(hr))
    {
        return hr;
    }
    return SetServicesBlanket(log, Method, *services.Get());
}

HRESULT BiosWmiEvent::Subscribe(const wchar_t* eventName, const wchar_t* logContext, const ClassLog& log)
{
    // Not examined: without an apartment the stub cannot be made, and that is what is reported.
    static_cast<void>(CoCreateInstance(CLSID_UnsecuredApartment, nullptr, CLSCTX_LOCAL_SERVER, IID_IUnsecuredApartment,
                                       apartment.ReceiveVoid()));

    sink = BiosWmiEventSink::Create(eventName, std::list<int>{eventIds.begin(), eventIds.end()}, logContext);

    HRESULT hr = apartment ? apartment->CreateObjectStub(sink.Get(), stub.Receive()) : E_POINTER;
    hr = Checked(hr, stub.Get(), log, Method, L"CreateObjectStub");
    if (FAILED(hr))
    {
        return hr;
    }
    hr = stub->QueryInterface(IID_IWbemObjectSink, stubSink.ReceiveVoid());
    hr = Checked(hr, stubSink.Get(), log, Method, L"QueryInterface(IID_IWbemObjectSink)");
    if (FAILED(hr))
    {
        return hr;
    }
    const Bstr language{QueryLanguage};
    const Bstr query{FirmwareEventQuery};
    hr = services->ExecNotificationQueryAsync(language.Get(), query.Get(), WBEM_FLAG_SEND_STATUS, nullptr,
                                              stubSink.Get());
    return Checked(hr, log, Method, L"ExecNotificationQueryAsync");
}

BiosWmiEventSink* BiosWmiEvent::Sink() const noexcept
{
    const LockGuard held{lock};
    return sink.Get();
}

// The caller holds the lock.
void BiosWmiEvent::ReleaseSubscription() noexcept
{
    if (sink)
    {
        sink->Events().Close(); // WMI may wait for the calls that are under way before it lets go of the sink
    }
    if (active)
    {
        services->CancelAsyncCall(stubSink.Get());
    }
    stubSink.Reset();
    stub.Reset();
    sink.Reset();
    apartment.Reset();
    services.Reset();
    locator.Reset();
    active = false;
    // Pairs with the CoInitializeEx of SetupSink, but runs on the thread that ends the session and also where joining
    // COM failed: by contract it is not balanced per thread.
    CoUninitialize();
    mtaUsage.Release();
}

int BiosWmiEvent::AddEventId(int id)
{
    const LockGuard held{lock};
    const bool isNew = eventIds.insert(id).second;
    const bool filters = active && sink;
    return (filters ? sink->AddToFilter(id) : isNew) ? 1 : 0;
}

int BiosWmiEvent::RemoveEventId(int id) noexcept
{
    const LockGuard held{lock};
    eventIds.erase(id);
    if (!active || !sink)
    {
        return static_cast<int>(eventIds.size());
    }
    return sink->RemoveFromFilter(id);
}

void BiosWmiEvent::ClearEventIds() noexcept
{
    const LockGuard held{lock};
    eventIds.clear();
    if (active && sink)
    {
        sink->ClearFilter();
    }
}

} // namespace Zv::Tessel::Server::Shared::WMI
