// Receives the firmware's events from WMI.
#pragma once

#include "Logging/Logging.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Lock.h"
#include "Shared/Json/JsonDocument.h"
#include "Shared/Log/ClassLog.h"

#include <windows.h>

#include <wbemcli.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <string>

namespace Zv::Tessel::Server::Shared::WMI
{

class Variant;

// Turns each firmware event that passes the filter into the record {"eventId", "eventData"} and hands it to the
// session's registration through a mailbox of one slot.
//
// Lifetime: counted by COM. The subscription holds one reference, WMI others.
// Threads: WMI calls Indicate and SetStatus on threads of its own, several at once; the registration takes events on
// its thread. A producer that finds the mailbox full waits until the event in it was taken, for as long as that takes.
class BiosWmiEventSink final : public IWbemObjectSink
{
public:
    // eventName: the event to set when an event has come. logContext: for log lines. Null counts as empty.
    // eventIds: the filter; empty passes every event. Throws std::bad_alloc.
    [[nodiscard]] static ComPtr<BiosWmiEventSink> Create(const wchar_t* eventName, std::list<int> eventIds,
                                                         const wchar_t* logContext);
    BiosWmiEventSink(const BiosWmiEventSink&) = delete;
    BiosWmiEventSink& operator=(const BiosWmiEventSink&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    // Raises ComError when the id or the data of an event cannot be converted to an integer.
    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object) override;

    // The filter of the live subscription. The caller holds the subscription's lock.
    bool AddToFilter(int id);              // false when it is in the filter already; throws std::bad_alloc
    int RemoveFromFilter(int id) noexcept; // the number of ids left; -1 when it was not in the filter
    void ClearFilter() noexcept;

    // Nobody takes events any more: lets producers go that wait for a full mailbox, and drops what they bring.
    void Close() noexcept;

    // The session has ended: a registration that waits for an event goes on without one.
    void EndDelivery() noexcept;

    // An event on its way to the registration, which has one at a time: waits until one is in the mailbox or the
    // session has ended. The event stays in the slot, where nobody changes it, for as long as this object lives; its
    // end frees the slot for the next one. The sink's lock is not held meanwhile: the client's callback may use the
    // session.
    class Delivery
    {
    public:
        explicit Delivery(BiosWmiEventSink& from) noexcept;
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;
        ~Delivery();

        [[nodiscard]] bool HasEvent() const noexcept { return m_hasEvent; }
        [[nodiscard]] const Services::JsonDocument& Record() const noexcept { return m_sink.eventRecord; }

    private:
        BiosWmiEventSink& m_sink;
        bool m_hasEvent;
    };

private:
    class Turn;

    BiosWmiEventSink(const wchar_t* eventNameText, std::list<int>&& filter, const wchar_t* logContextText);
    ~BiosWmiEventSink();

    [[nodiscard]] ClassLog Log() const noexcept { return {logger, className, logContext.c_str()}; }
    void Receive(IWbemClassObject& event);
    [[nodiscard]] bool IsFiltering() const noexcept;
    [[nodiscard]] bool Passes(int id) const noexcept;
    void Announce(Variant& eventId, Variant& eventData);
    void SetRecord(int eventId, int eventData);
    [[nodiscard]] bool SignalEvent() noexcept;

    std::atomic<std::int32_t> refCount = 0;
    Services::JsonDocument eventRecord; // the mailbox: guarded by lock while nothing is pending, else constant
    Lock lock;
    Condition cond;               // an event lies in the mailbox: the registration waits for it
    bool pending = false;         // guarded by lock; an event lies in the mailbox and has been signalled
    Logging::TraceLogger* logger; // written by the constructor only; not owned, may be null
    const char* className;        // written by the constructor only; not owned
    std::list<int> eventIds;      // changed under the subscription's lock and filterLock, read under filterLock
    std::wstring eventName;       // written by the constructor only
    std::wstring logContext;      // written by the constructor only
    HANDLE eventHandle = nullptr; // guarded by lock

    // Indicate must not wait for the subscription's lock, which is held while WMI is being called. This one is held for
    // a look at the list only.
    mutable Lock filterLock;
    // Producers wait here and the registration on `cond`, so that the one thread that each side wakes is always of the
    // other side.
    Condition slotFreed;
    bool closed = false;       // guarded by lock
    bool sessionEnded = false; // guarded by lock
};

} // namespace Zv::Tessel::Server::Shared::WMI
