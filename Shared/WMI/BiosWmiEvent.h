// A session's subscription to the firmware's events.
#pragma once

#include "Logging/Logging.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Com/MtaUsage.h"
#include "Platform/Windows/Lock.h"
#include "Shared/Log/ClassLog.h"

#include <windows.h>

#include <functional>
#include <set>

struct IUnknown;
struct IUnsecuredApartment;
struct IWbemLocator;
struct IWbemObjectSink;
struct IWbemServices;

namespace Zv::Tessel::Server::Shared::WMI
{

class BiosWmiEventSink;

// Subscribes to the firmware's event class and keeps the ids of the events that the session wants. WMI delivers the
// events to the sink, on threads of its own; a registration takes them from there.
//
// Lifetime: part of a session. Once set up, the subscription lives as long as the session, whether or not a
// registration waits; while none waits, events still reach the sink.
// Threads: every operation may be called from any thread. `lock` guards every member. It is held across the COM calls
// that set up and end a subscription; that is safe because nothing that WMI calls, the sink's Indicate above all, takes
// it. Order of locks: this one before the sink's.
class BiosWmiEvent
{
public:
    BiosWmiEvent();
    BiosWmiEvent(const BiosWmiEvent&) = delete;
    BiosWmiEvent& operator=(const BiosWmiEvent&) = delete;
    ~BiosWmiEvent();

    // Subscribes; does nothing when there is a subscription already. eventName names the event that is set whenever a
    // firmware event has come. A failed COM call is logged and returned; ComError or std::bad_alloc is thrown when
    // memory runs out. After either there is no subscription and nothing is held.
    //
    // Joins the calling thread to COM. Only the end of the subscription leaves COM again, on whatever thread that is.
    // The subscription does not need the thread: it holds the multithreaded apartment itself.
    [[nodiscard]] HRESULT SetupSink(const wchar_t* eventName, const wchar_t* logContext);

    // The sink of the subscription, null when there is none. It stays valid as long as the session does.
    [[nodiscard]] BiosWmiEventSink* Sink() const noexcept;

    // Adds an id to those wanted. Returns 1 when it is new, to the session or to the live filter, else 0.
    // Throws std::bad_alloc.
    int AddEventId(int id);

    // Removes an id. With a live subscription: the number of ids left in its filter, or -1 when the id was not in it.
    // Without: the number of ids left.
    int RemoveEventId(int id) noexcept;

    // Removes all ids. A live subscription then passes every event.
    void ClearEventIds() noexcept;

private:
    [[nodiscard]] HRESULT Connect(const ClassLog& log);
    [[nodiscard]] HRESULT Subscribe(const wchar_t* eventName, const wchar_t* logContext, const ClassLog& log);
    void ReleaseSubscription() noexcept;

    ComPtr<BiosWmiEventSink> sink;  // guarded by lock
    Logging::TraceLogger* logger;   // written by the constructor only; not owned, may be null
    const char* className;          // written by the constructor only; not owned
    std::function<void()> callback; // always empty
    mutable Lock lock;
    bool active = false; // guarded by lock, as are all that follow
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services; // connected to the namespace of the firmware's classes
    ComPtr<IUnsecuredApartment> apartment;
    ComPtr<IUnknown> stub;            // stands for the sink in the unsecured apartment
    ComPtr<IWbemObjectSink> stubSink; // the stub as WMI calls it
    std::set<int> eventIds;           // kept also while there is no subscription
    MtaUsage mtaUsage;                // held as long as the subscription lives; released last
};

} // namespace Zv::Tessel::Server::Shared::WMI
