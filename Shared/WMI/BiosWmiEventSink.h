// Receives the firmware's events from WMI.
#pragma once

#include "Logging/Logging.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Windows/Lock.h"
#include "Shared/Log/ClassLog.h"
#include "Shared/WMI/Mailbox.h"

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
    // eventNameText: the event to set when an event has come. logContextText: for log lines. Null counts as empty.
    // filter: the ids to pass; empty passes every event. Throws std::bad_alloc.
    [[nodiscard]] static ComPtr<BiosWmiEventSink> Create(const wchar_t* eventNameText, std::list<int> filter,
                                                         const wchar_t* logContextText);
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

    // Where the registration takes the events from.
    [[nodiscard]] Mailbox& Events() noexcept { return mailbox; }

private:
    BiosWmiEventSink(const wchar_t* eventNameText, std::list<int>&& filter, const wchar_t* logContextText);
    ~BiosWmiEventSink();

    [[nodiscard]] ClassLog Log() const noexcept { return {logger, className, logContext.c_str()}; }
    void Receive(IWbemClassObject& event);
    [[nodiscard]] bool IsFiltering() const noexcept;
    [[nodiscard]] bool Passes(int id) const noexcept;
    void Announce(Variant& eventId, Variant& eventData);
    [[nodiscard]] bool SignalEvent() noexcept;

    std::atomic<std::int32_t> refCount = 0;
    Mailbox mailbox;              // guards itself
    Logging::TraceLogger* logger; // written by the constructor only; not owned, may be null
    const char* className;        // written by the constructor only; not owned
    std::list<int> eventIds;      // changed under the subscription's lock and filterLock, read under filterLock
    std::wstring eventName;       // written by the constructor only
    std::wstring logContext;      // written by the constructor only
    HANDLE eventHandle = nullptr; // used by the producer whose turn at the mailbox it is

    // Indicate must not wait for the subscription's lock, which is held while WMI is being called. This one is held for
    // a look at the list only.
    mutable Lock filterLock;
};

} // namespace Zv::Tessel::Server::Shared::WMI
