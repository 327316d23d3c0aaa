#include "Services/WMI/WMIServiceContext.h"

#include "Platform/Windows/Uuid.h"
#include "Services/ClientId.h"
#include "Shared/WMI/BiosWmiEventSink.h"

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

// The handle is given up in any case; an absent one counts as closed.
bool Close(HANDLE& handle) noexcept
{
    const bool closed = handle == nullptr || CloseHandle(handle) != FALSE;
    handle = nullptr;
    return closed;
}

} // namespace

WMIServiceContext::WMIServiceContext()
{
    stopEventName = L"zvtwe_" + Shared::WMI::NewUuidString();
    callbackEventName = L"zvttcb_" + Shared::WMI::NewUuidString();
}

WMIServiceContext::WMIServiceContext(wchar_t* id) : WMIServiceContext()
{
    clientId = CopyClientId(id);
}

WMIServiceContext::~WMIServiceContext()
{
    clientId.reset();
    ClearListener();
}

unsigned long WMIServiceContext::AddRef()
{
    return ++refCount;
}

unsigned long WMIServiceContext::Release(bool signalWaiter)
{
    return GiveUp(signalWaiter ? Parting::Signals : Parting::Silent);
}

unsigned long WMIServiceContext::GiveUp(Parting parting) noexcept
{
    ++leaving; // before the count falls: whoever brings it to 0 knows of all who have yet to pass the lock
    // Before the signal: a registration that it wakes is the last one then, and its thread ends what it has begun.
    const unsigned long count = --refCount;
    {
        const Shared::LockGuard held{listenerLock};
        if (parting == Parting::EndsSession)
        {
            NoteSessionEndLocked();
        }
        if (parting != Parting::Silent && stopEvent != nullptr)
        {
            SetEvent(stopEvent);
        }
    }
    if (count != 0)
    {
        --leaving; // from here on the context may be gone
        return count;
    }
    // The others have only the lock to pass, and nobody comes any more. The second and later pauses let threads of
    // lower priority run, too.
    for (DWORD pause = 0; leaving != 1; pause = 1)
    {
        Sleep(pause);
    }
    delete this;
    return 0;
}

void WMIServiceContext::NoteSessionEndLocked() noexcept
{
    sessionEnded = true;
    if (Shared::WMI::BiosWmiEventSink* const sink = event.Sink(); sink != nullptr)
    {
        sink->Events().EndDelivery();
    }
}

bool WMIServiceContext::ClearListener()
{
    const Shared::LockGuard held{listenerLock};
    return ClearListenerLocked();
}

WMIServiceContext::StopSignal WMIServiceContext::SignalStop() noexcept
{
    const Shared::LockGuard held{stopLock};
    if (stopEvent == nullptr)
    {
        return StopSignal::NothingWaits;
    }
    return SetEvent(stopEvent) != FALSE ? StopSignal::Sent : StopSignal::Failed;
}

void WMIServiceContext::SetStopEventLocked(HANDLE created) noexcept
{
    const Shared::LockGuard held{stopLock};
    stopEvent = created;
}

bool WMIServiceContext::ClearListenerLocked()
{
    bool stopClosed = true;
    {
        const Shared::LockGuard held{stopLock};
        stopClosed = Close(stopEvent);
    }
    const bool callbackClosed = Close(callbackEvent);
    event.ClearEventIds();
    return stopClosed && callbackClosed;
}

} // namespace Zv::Tessel::Server::Services::WMI
