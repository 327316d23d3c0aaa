// The object behind a session handle.
#pragma once

#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Lock.h"
#include "Shared/Contract/Export.h"
#include "Shared/WMI/BiosWmiEvent.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace Zv::Tessel::Server::Services::WMI
{

// One client's session: its id, its subscription to firmware events, and what a waiting registration needs.
//
// Lifetime: counted. StartSession holds one reference, each running command another; whoever gives up the last one
// frees the context. The count must not rise again once it was 0.
// Threads: every operation may be called from any thread that holds a reference. Order of locks: listenerLock first,
// then the subscription's own lock.
class WMIServiceContext
{
public:
    // clientId: 1 to 64 characters, copied. A null or longer id ends the process through the C runtime's
    // invalid-parameter handling. Throws std::bad_alloc.
    ZV_EXPORT explicit WMIServiceContext(wchar_t* clientId);
    // A context without a client id.
    ZV_EXPORT WMIServiceContext();
    WMIServiceContext(const WMIServiceContext&) = delete;
    WMIServiceContext& operator=(const WMIServiceContext&) = delete;
    ZV_EXPORT ~WMIServiceContext();

    // Both return the new count.
    ZV_EXPORT unsigned long AddRef();
    // signalWaiter: wakes the waiting registration.
    ZV_EXPORT unsigned long Release(bool signalWaiter);

    // Closes the two events of the registration and clears the filters. Returns false when an event could not be
    // closed; both are given up all the same.
    ZV_EXPORT bool ClearListener();

private:
    friend class EventRegistration;
    friend class WMIService;

    enum class StopSignal
    {
        NothingWaits,
        Sent,
        Failed // GetLastError() says why
    };

    enum class Parting
    {
        Silent,
        Signals,    // wakes the waiting registration
        EndsSession // so that a registration returns also when it has yet to wait, or waits in the mailbox
    };

    // Gives up a reference. Returns the new count; the context is gone when that is 0.
    unsigned long GiveUp(Parting parting) noexcept;

    // For a caller that holds listenerLock.
    void NoteSessionEndLocked() noexcept;

    // Tells the waiting registration to end. Does not take listenerLock, which is held while a registration is set up:
    // that may take long.
    StopSignal SignalStop() noexcept;

    // For a caller that holds listenerLock.
    void SetStopEventLocked(HANDLE created) noexcept;

    // ClearListener for a caller that holds listenerLock.
    bool ClearListenerLocked();

    std::atomic<std::uint32_t> refCount = 0;
    std::unique_ptr<wchar_t[]> clientId; // written by the constructor only
    std::wstring callbackEventName;      // written by the constructor only
    Shared::WMI::BiosWmiEvent event;     // guards itself
    Shared::Lock listenerLock;
    std::wstring stopEventName;     // written by the constructor only
    HANDLE stopEvent = nullptr;     // changed under both locks, read under either; not null while a registration waits
    HANDLE callbackEvent = nullptr; // guarded by listenerLock; follows stopEvent: the two are waited for as one array
    bool sessionEnded = false;      // guarded by listenerLock
    // Threads that are giving up a reference and may touch this object still, however low refCount is.
    std::atomic<std::uint32_t> leaving = 0;
    Shared::Lock stopLock; // the innermost; keeps stopEvent open while it is signalled
};

} // namespace Zv::Tessel::Server::Services::WMI
