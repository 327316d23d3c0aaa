#include "Tests/Abi/Host/FirmwareEvents.h"

#include "Tests/Abi/Host/Check.h"

namespace Abi
{

namespace
{

constexpr HRESULT NoInterface = static_cast<HRESULT>(0x80004002);
constexpr int MaxSlots = 27; // of the largest interface here
constexpr DWORD Watchdog = 30000;

// A COM object that is never freed: its table has a function in each slot, most of which nobody may call.
struct ComObject
{
    const void* const* table;
};

ULONG AddRef(ComObject*)
{
    return 2;
}

ULONG Release(ComObject*)
{
    return 1;
}

HRESULT Unexpected(ComObject*)
{
    CHECK(!"an unexpected COM call");
    return NoInterface;
}

HRESULT QueryInterface(ComObject* self, const GUID*, void** object)
{
    *object = self;
    return S_OK;
}

class Table
{
public:
    template <class Function>
    Table(int slot, Function* function)
    {
        for (const void*& entry : m_functions)
        {
            entry = reinterpret_cast<const void*>(&Unexpected);
        }
        m_functions[0] = reinterpret_cast<const void*>(&QueryInterface);
        m_functions[1] = reinterpret_cast<const void*>(&AddRef);
        m_functions[2] = reinterpret_cast<const void*>(&Release);
        m_functions[slot] = reinterpret_cast<const void*>(function);
    }

    template <class Function>
    Table& With(int slot, Function* function)
    {
        m_functions[slot] = reinterpret_cast<const void*>(function);
        return *this;
    }

    operator const void* const*() const { return m_functions; }

private:
    const void* m_functions[MaxSlots];
};

// What a sink's table has.
struct Sink
{
    struct Functions
    {
        HRESULT (*queryInterface)(Sink*, const GUID*, void**);
        ULONG (*addRef)(Sink*);
        ULONG (*release)(Sink*);
        HRESULT (*indicate)(Sink*, LONG count, ComObject** objects);
        HRESULT (*setStatus)(Sink*, LONG flags, HRESULT result, wchar_t* text, ComObject* object);
    };
    const Functions* functions;
};

HANDLE g_subscribed = nullptr; // manual reset
Sink* g_sink = nullptr;        // one reference held

struct Variant
{
    unsigned short type;
    unsigned short reserved[3];
    LONG value;
    LONG more[3];
};
static_assert(sizeof(Variant) == 24);

struct EventObject : ComObject
{
    int id;
    int data;
};

HRESULT GetProperty(EventObject* self, const wchar_t* name, LONG, Variant* value, LONG*, LONG*)
{
    constexpr unsigned short signed32 = 3;
    *value = {signed32, {}, lstrcmpW(name, L"EventID") == 0 ? self->id : self->data, {}};
    return S_OK;
}

HRESULT CancelAsyncCall(ComObject*, Sink*)
{
    return S_OK;
}

HRESULT ExecNotificationQueryAsync(ComObject*, wchar_t*, wchar_t* query, LONG, void*, Sink* sink)
{
    CHECK_TEXT(L"SELECT * from zvqBEvnt", query);
    sink->functions->addRef(sink);
    g_sink = sink;
    SetEvent(g_subscribed);
    return S_OK;
}

Table g_servicesTable = Table{4, &CancelAsyncCall}.With(23, &ExecNotificationQueryAsync);
ComObject g_services{g_servicesTable};

HRESULT ConnectServer(ComObject*, wchar_t*, wchar_t*, wchar_t*, wchar_t*, LONG, wchar_t*, void*, ComObject** services)
{
    *services = &g_services;
    return S_OK;
}

Table g_locatorTable{3, &ConnectServer};
ComObject g_locator{g_locatorTable};

// Nothing stands between the module's sink and its caller here.
HRESULT CreateObjectStub(ComObject*, Sink* object, Sink** stub)
{
    object->functions->addRef(object);
    *stub = object;
    return S_OK;
}

Table g_apartmentTable{3, &CreateObjectStub};
ComObject g_apartment{g_apartmentTable};

Table g_eventTable{4, &GetProperty};

HRESULT CreateInstance(const GUID&, void*, DWORD context, const GUID&, void** object)
{
    constexpr DWORD localServer = 4;
    *object = context == localServer ? &g_apartment : &g_locator;
    return S_OK;
}

HRESULT SetProxyBlanket(void*, DWORD, DWORD, wchar_t*, DWORD, DWORD, void*, DWORD)
{
    return S_OK;
}

// As outside of a remote call. Wine has no such function.
LONG InquireCallAttributes(void*, void*)
{
    constexpr LONG noCallActive = 1725;
    return noCallActive;
}

} // namespace

FirmwareEvents::FirmwareEvents()
    : m_createInstance{"ole32.dll", "CoCreateInstance", &CreateInstance},
      m_proxyBlanket{"ole32.dll", "CoSetProxyBlanket", &SetProxyBlanket},
      m_callAttributes{"rpcrt4.dll", "RpcServerInqCallAttributesW", &InquireCallAttributes}
{
    g_subscribed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

FirmwareEvents::~FirmwareEvents()
{
    if (g_sink != nullptr)
    {
        g_sink->functions->release(g_sink);
        g_sink = nullptr;
    }
    CloseHandle(g_subscribed);
}

void FirmwareEvents::Raise(int eventId, int eventData)
{
    if (WaitForSingleObject(g_subscribed, Watchdog) != WAIT_OBJECT_0)
    {
        CHECK(!"no subscription has come");
        ExitProcess(1);
    }
    EventObject event{{g_eventTable}, eventId, eventData};
    ComObject* objects[] = {&event};
    CHECK_EQUAL(S_OK, g_sink->functions->indicate(g_sink, 1, objects));
}

} // namespace Abi
