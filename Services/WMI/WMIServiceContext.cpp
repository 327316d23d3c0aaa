#include "Services/WMI/WMIServiceContext.h"

#include "Platform/Windows/Uuid.h"
#include "Services/CheckedCopy.h"
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
    {
        const Shared::LockGuard held{listenerLock};
        if (signalWaiter && stopEvent != nullptr)
        {
            SetEvent(stopEvent);
        }
    }
    // Counting down comes last: every thread has left the lock before it gives up its reference, so that nobody can
    // touch the lock of a context that another thread frees.
    const unsigned long count = --refCount;
    if (count == 0)
    {
        delete this;
    }
    return count;
}

void WMIServiceContext::NoteSessionEnd() noexcept
{
    const Shared::LockGuard held{listenerLock};
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
