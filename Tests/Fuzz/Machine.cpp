#include "Tests/Fuzz/Machine.h"

#include "Tests/Fuzz/Values.h"
#include "Tests/Support/UnexpectedCalls.h"

#include <objbase.h>
#include <oleauto.h>

#include <cwchar>

namespace Zv::Fuzz
{

namespace
{

using SharedMachine = std::shared_ptr<Machine::State>;

class Object final : public Testing::UnexpectedObject
{
public:
    explicit Object(const SharedMachine& state) : UnexpectedObject{state, "IWbemClassObject"}, m_state{state} {}

    STDMETHODIMP Get(LPCWSTR name, LONG, VARIANT* value, CIMTYPE* type, LONG*) override
    {
        VariantInit(value); // what it held is lost, as with the real one
        return FillValue(m_state, name, value, type);
    }
    STDMETHODIMP Put(LPCWSTR, LONG, VARIANT* value, CIMTYPE) override
    {
        // Reads it all, as the real one does.
        VARIANT copy{};
        const bool hasNoArray = (value->vt & VT_ARRAY) != 0 && value->parray == nullptr; // VariantCopy takes none
        if (!hasNoArray && SUCCEEDED(VariantCopy(&copy, value)))
        {
            VariantClear(&copy);
        }
        return m_state->answers->Status();
    }
    STDMETHODIMP GetObjectText(LONG, BSTR* text) override
    {
        const HRESULT hr = m_state->answers->Status();
        if (SUCCEEDED(hr))
        {
            const std::wstring content = m_state->answers->Text();
            *text = SysAllocStringLen(content.data(), static_cast<UINT>(content.size()));
        }
        return hr;
    }
    STDMETHODIMP SpawnInstance(LONG, IWbemClassObject** instance) override { return Give(instance); }
    STDMETHODIMP GetMethod(LPCWSTR, LONG, IWbemClassObject** input, IWbemClassObject** output) override
    {
        const HRESULT hr = Give(input);
        if (SUCCEEDED(hr) && m_state->answers->Choice(8) == 7)
        {
            (*input)->Release();
            *input = nullptr; // a method without input parameters has no such object
        }
        return SUCCEEDED(hr) && output != nullptr ? Give(output) : hr;
    }

    HRESULT Give(IWbemClassObject** object) const
    {
        const HRESULT hr = m_state->answers->Status();
        if (SUCCEEDED(hr))
        {
            *object = NewObject(m_state);
        }
        return hr;
    }

private:
    ~Object() override = default;
    void Gone() override {}

    SharedMachine m_state;
};

class Enumerator final : public Testing::UnexpectedEnumerator
{
public:
    explicit Enumerator(const SharedMachine& state)
        : UnexpectedEnumerator{state, "IEnumWbemClassObject"},
          m_state{state}
    {
        const std::size_t choice = state->answers->Choice(16);
        m_left = choice == 0 ? 1 : choice - 1;
    }

    STDMETHODIMP Next(LONG timeout, ULONG, IWbemClassObject** object, ULONG* returned) override
    {
        *returned = 0;
        *object = nullptr;
        if (const HRESULT hr = m_state->answers->Status(); FAILED(hr))
        {
            return hr;
        }
        if (m_left == 0)
        {
            return timeout != static_cast<LONG>(WBEM_INFINITE) && m_state->answers->Choice(2) == 1 ? WBEM_S_TIMEDOUT
                                                                                                   : WBEM_S_FALSE;
        }
        --m_left;
        *object = NewObject(m_state);
        *returned = 1;
        return S_OK;
    }

private:
    ~Enumerator() override = default;
    void Gone() override {}

    SharedMachine m_state;
    std::size_t m_left;
};

class Services final : public Testing::UnexpectedServices
{
public:
    explicit Services(const SharedMachine& state) : UnexpectedServices{state, "IWbemServices"}, m_state{state} {}

    STDMETHODIMP ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject** enumerator) override
    {
        return Enumerate(enumerator);
    }
    STDMETHODIMP CreateInstanceEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject** enumerator) override
    {
        return Enumerate(enumerator);
    }
    STDMETHODIMP GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject** object, IWbemCallResult**) override
    {
        return Give(object);
    }
    STDMETHODIMP ExecMethod(const BSTR, const BSTR method, LONG, IWbemContext*, IWbemClassObject*,
                            IWbemClassObject** output, IWbemCallResult**) override
    {
        static constexpr wchar_t Prefix[] = L"zvqBIOSInt";
        static constexpr std::size_t PrefixLength = std::size(Prefix) - 1;
        m_state->returnSize =
            std::wcsncmp(method, Prefix, PrefixLength) == 0 ? std::wcstoul(method + PrefixLength, nullptr, 10) : 0;
        if (m_state->answers->Choice(16) == 15)
        {
            return S_OK; // a method without output parameters gives no such object
        }
        return Give(output);
    }
    STDMETHODIMP ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        const HRESULT hr = m_state->answers->Status();
        if (SUCCEEDED(hr))
        {
            m_state->events.Subscribe(sink);
        }
        return hr;
    }
    STDMETHODIMP CancelAsyncCall(IWbemObjectSink* sink) override
    {
        return m_state->events.Cancel(sink) ? S_OK : static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER);
    }

private:
    ~Services() override = default;
    void Gone() override {}

    HRESULT Enumerate(IEnumWbemClassObject** enumerator)
    {
        const HRESULT hr = m_state->answers->Status();
        if (SUCCEEDED(hr))
        {
            *enumerator = new Enumerator{m_state};
        }
        return hr;
    }

    HRESULT Give(IWbemClassObject** object)
    {
        const HRESULT hr = m_state->answers->Status();
        if (SUCCEEDED(hr))
        {
            *object = NewObject(m_state);
        }
        return hr;
    }

    SharedMachine m_state;
};

class Locator final : public Testing::FakeCom<IWbemLocator>
{
public:
    explicit Locator(const SharedMachine& state) : FakeCom{state, "IWbemLocator"}, m_state{state} {}

    STDMETHODIMP ConnectServer(const BSTR, const BSTR, const BSTR, const BSTR, LONG, const BSTR, IWbemContext*,
                               IWbemServices** services) override
    {
        const HRESULT hr = m_state->answers->Status();
        if (SUCCEEDED(hr))
        {
            *services = new Services{m_state};
        }
        return hr;
    }

private:
    ~Locator() override = default;
    void Gone() override {}

    SharedMachine m_state;
};

HRESULT Create(const SharedMachine& state, REFCLSID clsid, REFIID iid, void** object)
{
    *object = nullptr;
    const bool isLocator = IsEqualCLSID(clsid, CLSID_WbemLocator);
    if (const HRESULT hr = state->answers->Status(); FAILED(hr))
    {
        state->locatorsDenied += isLocator ? 1 : 0;
        return hr;
    }
    if (!isLocator)
    {
        return Testing::CreateFakeApartment(state, iid, object);
    }
    auto* const locator = new Locator{state};
    const HRESULT hr = locator->QueryInterface(iid, object);
    locator->Release();
    return hr;
}

} // namespace

IWbemClassObject* NewObject(const SharedMachine& state)
{
    return new Object{state};
}

Machine::Machine(Testing::PlatformCalls& calls, Testing::Transcript& transcript, Testing::FaultPlan& plan)
    : m_calls{calls},
      m_state{std::make_shared<State>(transcript, plan, m_noScript)}
{
    m_calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
        [state = m_state](REFCLSID clsid, IUnknown*, DWORD, REFIID iid, void** object) {
            return Create(state, clsid, iid, object);
        });
    m_calls.Replace<"CoSetProxyBlanket", decltype(CoSetProxyBlanket)>(
        [state = m_state](IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, RPC_AUTH_IDENTITY_HANDLE, DWORD) {
            return state->answers->Status();
        });
}

Machine::~Machine()
{
    m_calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>({});
    m_calls.Replace<"CoSetProxyBlanket", decltype(CoSetProxyBlanket)>({});
}

void Machine::Use(Answers& answers) noexcept
{
    m_state->answers = &answers;
    m_state->locatorsDenied = 0;
}

void Machine::Deliver()
{
    using Tessel::Server::Shared::WMI::ComPtr;
    const ComPtr<IWbemClassObject> object{NewObject(m_state)};
    // A second object would wait for the first one to be taken, on this thread.
    IWbemClassObject* objects[] = {object.Get(), nullptr};
    switch (m_state->answers->Choice(8))
    {
    case 1:
        m_state->events.Emit(2, objects);
        break;
    case 2:
        m_state->events.Emit(1, objects + 1);
        break;
    case 3:
        m_state->events.Emit(m_state->answers->Number() & 0xFF, nullptr);
        break;
    case 4:
        m_state->events.Emit(-1, objects);
        break;
    case 5:
        if (const Testing::EventSource::Sink sink = m_state->events.ModuleSink())
        {
            sink->SetStatus(m_state->answers->Number(), m_state->answers->Status(), nullptr, nullptr);
        }
        break;
    default:
        m_state->events.Emit(1, objects);
        break;
    }
}

} // namespace Zv::Fuzz
