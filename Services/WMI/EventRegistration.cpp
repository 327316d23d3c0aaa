#include "Services/WMI/EventRegistration.h"

#include "Platform/Com/ComError.h"
#include "Platform/GccRuntime/HostCall.h"
#include "Platform/Windows/Lock.h"
#include "Platform/Windows/WindowsDeclarations.h"
#include "Services/WMI/Records/Requests.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Shared/Contract/ResultCode.h"
#include "Shared/Json/JsonText.h"

#include <exception>
#include <new>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

constexpr const char* Method = "RegisterBiosEventNotification"; // of every log line here

// Whether the client of the remote call that this thread serves, if it serves one, has cancelled it or is gone.
bool ClientHasLeft() noexcept
{
    RPC_CALL_ATTRIBUTES_V3_W attributes{};
    attributes.Version = 3;
    // On a failure, as outside of a remote call, the status stays 0.
    static_cast<void>(RpcServerInqCallAttributesW(nullptr, &attributes));
    const unsigned long status = attributes.CallStatus;
    return status == 1 || status == 2; // by contract these two numbers, whatever names the platform has for them
}

// Resets an event at the end of its scope.
class ResetAtEnd
{
public:
    explicit ResetAtEnd(HANDLE event) noexcept : m_event{event} {}
    ResetAtEnd(const ResetAtEnd&) = delete;
    ResetAtEnd& operator=(const ResetAtEnd&) = delete;
    ~ResetAtEnd() { ResetEvent(m_event); }

private:
    HANDLE m_event;
};

} // namespace

EventRegistration::~EventRegistration()
{
    if (m_ownsListener)
    {
        ReportUnlessCleared(m_session.ClearListener());
    }
}

int EventRegistration::Run(JsonDocument& request, JsonDocument& response, const ProgressCallback& callback)
{
    switch (SetUp(request, response))
    {
    case Start::JoinedAnother:
        return Success;
    case Start::Failed:
        return GeneralFailure;
    case Start::Waits:
        break;
    }

    if (FAILED(m_sinkStatus))
    {
        m_log.Error(L"%S.%S - unable to create BiosWmiEvent class", Method);
        return GeneralFailure;
    }
    if (!m_sessionEnded)
    {
        RelayEvents(callback);
    }
    SetResult(response, RegisterResult::Ended);
    return Success;
}

EventRegistration::Start EventRegistration::SetUp(JsonDocument& request, JsonDocument& response)
{
    const Shared::LockGuard held{m_session.listenerLock};
    const RegisterResult filterResult = ApplyFilter(request);
    if (m_session.stopEvent != nullptr)
    {
        SetResult(response, filterResult);
        return Start::JoinedAnother;
    }
    if (!CreateEvents())
    {
        return Start::Failed;
    }
    m_ownsListener = true;
    m_sinkStatus = SetupSink();
    m_sink = m_session.event.Sink();
    // From here on, the end of the session finds the stop event; before, it left a note.
    m_sessionEnded = m_session.sessionEnded;
    return Start::Waits;
}

RegisterResult EventRegistration::ApplyFilter(JsonDocument& request)
{
    const ReadFilterBiosEventJason filter{&request, m_session.clientId.get()};
    if (filter.filterEvent == 0)
    {
        m_session.event.ClearEventIds();
        return RegisterResult::EveryEvent;
    }
    return m_session.event.AddEventId(static_cast<int>(filter.filterEvent)) == 1 ? RegisterResult::Added
                                                                                 : RegisterResult::AlreadyListening;
}

bool EventRegistration::CreateEvents() noexcept
{
    constexpr const wchar_t* failed = L"%S.%S - unable to create event, GetLastError = %d";
    auto* const stopEvent = CreateEventW(nullptr, TRUE, FALSE, m_session.stopEventName.c_str());
    if (stopEvent == nullptr)
    {
        m_log.Error(failed, Method, GetLastError());
        return false;
    }
    m_session.SetStopEventLocked(stopEvent);

    m_session.callbackEvent = CreateEventW(nullptr, TRUE, FALSE, m_session.callbackEventName.c_str());
    if (m_session.callbackEvent == nullptr)
    {
        m_log.Error(failed, Method, GetLastError());
        ReportUnlessCleared(m_session.ClearListenerLocked());
        return false;
    }
    m_events[0] = stopEvent;
    m_events[1] = m_session.callbackEvent;
    return true;
}

HRESULT EventRegistration::SetupSink() noexcept
{
    try
    {
        return m_session.event.SetupSink(m_session.callbackEventName.c_str(), m_session.clientId.get());
    }
    catch (const Shared::WMI::ComError& error)
    {
        return error.Result();
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

void EventRegistration::RelayEvents(const ProgressCallback& callback)
{
    for (;;)
    {
        const DWORD signalled = WaitForMultipleObjects(2, m_events, FALSE, INFINITE);
        if (signalled == WAIT_OBJECT_0)
        {
            return;
        }
        if (signalled == WAIT_OBJECT_0 + 1 && !RelayOne(callback))
        {
            return;
        }
    }
}

// Returns false when there is no client or no session any more.
bool EventRegistration::RelayOne(const ProgressCallback& callback)
{
    const Shared::WMI::Mailbox::Delivery delivery{m_sink->Events()};
    if (!delivery.HasEvent())
    {
        return false; // the session has ended
    }
    if (ClientHasLeft())
    {
        return false; // the event is dropped; by contract its signal stays
    }

    const ResetAtEnd reset{m_events[1]}; // while the mailbox is still held: the next event sets it again
    try
    {
        const auto text = ToJsonText(delivery.Record());
        Shared::CallHost([&] { callback(text.get()); });
    }
    catch (const std::exception& exception)
    {
        m_log.Warning(L"%S.%S - %S", Method, exception.what());
    }
    return true;
}

void EventRegistration::ReportUnlessCleared(bool cleared) const
{
    if (!cleared)
    {
        m_log.WindowsCallFailed(Method, L"CloseHandle", GetLastError());
    }
}

} // namespace Zv::Tessel::Server::Services::WMI
