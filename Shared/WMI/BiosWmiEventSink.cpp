#include "Shared/WMI/BiosWmiEventSink.h"

#include "Platform/Com/Variant.h"
#include "Platform/Windows/BoundedFormat.h"
#include "Shared/Log/TypeName.h"
#include "Shared/WMI/WmiCall.h"

#include <algorithm>
#include <utility>

namespace Zv::Tessel::Server::Shared::WMI
{

namespace
{

std::wstring OrEmpty(const wchar_t* text)
{
    return text == nullptr ? std::wstring{} : std::wstring{text};
}

} // namespace

ComPtr<BiosWmiEventSink> BiosWmiEventSink::Create(const wchar_t* eventNameText, std::list<int> filter,
                                                  const wchar_t* logContextText)
{
    ComPtr<BiosWmiEventSink> sink;
    *sink.Receive() = new BiosWmiEventSink(eventNameText, std::move(filter), logContextText);
    sink->AddRef();
    return sink;
}

BiosWmiEventSink::BiosWmiEventSink(const wchar_t* eventNameText, std::list<int>&& filter, const wchar_t* logContextText)
    : logger{Logging::LogManager::GetLogger()},
      className{ClassName<BiosWmiEventSink>()},
      eventIds{std::move(filter)},
      eventName{OrEmpty(eventNameText)},
      logContext{OrEmpty(logContextText)}
{
}

BiosWmiEventSink::~BiosWmiEventSink()
{
    if (eventHandle != nullptr && CloseHandle(eventHandle) == FALSE)
    {
        Log().WindowsCallFailed("~BiosWmiEventSink", L"CloseHandle", GetLastError());
    }
}

HRESULT STDMETHODCALLTYPE BiosWmiEventSink::QueryInterface(REFIID riid, void** object)
{
    if (object == nullptr)
    {
        Log().CallFailed("QueryInterface", L"QueryInterface", E_POINTER);
        return E_POINTER;
    }
    if (riid != IID_IUnknown && riid != IID_IWbemObjectSink)
    {
        Log().CallFailed("QueryInterface", L"QueryInterface", E_NOINTERFACE);
        return E_NOINTERFACE;
    }
    *object = static_cast<IWbemObjectSink*>(this);
    AddRef();
    return S_OK;
}

ULONG STDMETHODCALLTYPE BiosWmiEventSink::AddRef()
{
    return static_cast<ULONG>(++refCount);
}

ULONG STDMETHODCALLTYPE BiosWmiEventSink::Release()
{
    const std::int32_t count = --refCount;
    if (count == 0)
    {
        delete this;
    }
    return static_cast<ULONG>(count);
}

HRESULT STDMETHODCALLTYPE BiosWmiEventSink::Indicate(LONG count, IWbemClassObject** objects)
{
    if (objects == nullptr)
    {
        Log().IsNull("Indicate", "apObjArray");
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    for (LONG i = 0; i < count; ++i)
    {
        if (objects[i] == nullptr)
        {
            Log().IsNull("Indicate", "apObjArray[i]");
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        Receive(*objects[i]);
    }
    return WBEM_S_NO_ERROR;
}

HRESULT STDMETHODCALLTYPE BiosWmiEventSink::SetStatus(LONG flags, HRESULT result, BSTR /*text*/,
                                                      IWbemClassObject* /*object*/)
{
    if (flags == WBEM_STATUS_COMPLETE)
    {
        wchar_t text[260];
        if (SUCCEEDED(BoundedFormat(text, sizeof text, L"Call complete. hResult = 0x%X\n",
                                    static_cast<unsigned int>(result))))
        {
            OutputDebugStringW(text);
        }
    }
    else if (flags == WBEM_STATUS_PROGRESS)
    {
        OutputDebugStringW(L"Call in progress.\n");
    }
    return WBEM_S_NO_ERROR;
}

void BiosWmiEventSink::Receive(IWbemClassObject& event)
{
    // A property that cannot be read counts as the 0 that an empty VARIANT converts to.
    Variant eventId;
    HRESULT hr = event.Get(L"EventID", 0, eventId.Address(), nullptr, nullptr);
    if (FAILED(hr))
    {
        Log().CallFailed("Indicate", L"Get(EventID)", hr);
    }
    Variant eventData;
    hr = event.Get(L"EventData", 0, eventData.Address(), nullptr, nullptr);
    if (FAILED(hr))
    {
        Log().CallFailed("Indicate", L"Get(EventData)", hr);
    }

    if (IsFiltering())
    {
        eventId.ConvertTo(VT_INT);
        if (!Passes(V_INT(eventId.Address())))
        {
            return;
        }
    }
    Announce(eventId, eventData);
}

bool BiosWmiEventSink::IsFiltering() const noexcept
{
    const LockGuard held{filterLock};
    return !eventIds.empty();
}

bool BiosWmiEventSink::Passes(int id) const noexcept
{
    const LockGuard held{filterLock};
    return eventIds.empty() || std::ranges::find(eventIds, id) != eventIds.end();
}

bool BiosWmiEventSink::AddToFilter(int id)
{
    const LockGuard held{filterLock};
    if (std::ranges::find(eventIds, id) != eventIds.end())
    {
        return false;
    }
    eventIds.push_back(id);
    return true;
}

int BiosWmiEventSink::RemoveFromFilter(int id) noexcept
{
    const LockGuard held{filterLock};
    const auto found = std::ranges::find(eventIds, id);
    if (found == eventIds.end())
    {
        return -1;
    }
    eventIds.erase(found);
    return static_cast<int>(eventIds.size());
}

void BiosWmiEventSink::ClearFilter() noexcept
{
    const LockGuard held{filterLock};
    eventIds.clear();
}

void BiosWmiEventSink::Announce(Variant& eventId, Variant& eventData)
{
    Mailbox::Turn turn{mailbox};
    if (!turn.MayFill())
    {
        return; // nobody takes events any more
    }
    eventId.ConvertTo(VT_INT);
    eventData.ConvertTo(VT_INT);
    turn.Fill(V_INT(eventId.Address()), V_INT(eventData.Address()));
    // Of an event that raised above or could not be signalled nobody knows, and nobody would take it out.
    if (SignalEvent())
    {
        turn.Announce();
    }
}

bool BiosWmiEventSink::SignalEvent() noexcept
{
    if (eventHandle == nullptr)
    {
        eventHandle = OpenEventW(EVENT_ALL_ACCESS, FALSE, eventName.c_str());
        if (eventHandle == nullptr)
        {
            Log().WindowsCallFailed("Indicate", L"OpenEvent", GetLastError());
            return false;
        }
    }
    if (SetEvent(eventHandle) == FALSE)
    {
        Log().WindowsCallFailed("Indicate", L"SetEvent", GetLastError());
        return false;
    }
    return true;
}

} // namespace Zv::Tessel::Server::Shared::WMI
