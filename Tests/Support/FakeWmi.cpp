#include "Tests/Support/FakeWmi.h"

#include "Tests/Support/FakeEvents.h"
#include "Tests/Support/FakeObject.h"

#include <objbase.h>

namespace Zv::Testing
{

namespace
{

// An interface of its own, as a proxy manager's is; CoSetProxyBlanket asks for it.
class FakeClientSecurity final : public FakeCom<IClientSecurity>
{
public:
    using FakeCom::FakeCom;

    STDMETHODIMP QueryBlanket(IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*) override
    {
        return Unexpected("QueryBlanket");
    }
    STDMETHODIMP SetBlanket(IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, void*, DWORD) override { return S_OK; }
    STDMETHODIMP CopyProxy(IUnknown*, IUnknown**) override { return Unexpected("CopyProxy"); }

private:
    ~FakeClientSecurity() override = default;
    void Gone() override {} // untraced: the module never sees it
};

class FakeEnumerator final : public UnexpectedEnumerator
{
public:
    FakeEnumerator(std::shared_ptr<FakeWmiState> state, Results results)
        : UnexpectedEnumerator{std::move(state), "IEnumWbemClassObject"},
          m_results{std::move(results)}
    {
    }

    STDMETHODIMP Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) override
    {
        return Perform("Next", ShowAll(timeout, count), [&] {
            *returned = 0;
            *objects = nullptr;
            if (m_next == m_results.instances.size())
            {
                return m_results.end;
            }
            if (const ObjectScriptPtr& script = m_results.instances[m_next++])
            {
                *objects = new FakeObject{SharedState(), script};
                *returned = 1;
            }
            return S_OK;
        });
    }

private:
    ~FakeEnumerator() override = default;

    Results m_results;
    std::size_t m_next = 0;
};

class FakeServices final : public UnexpectedServices
{
public:
    FakeServices(std::shared_ptr<FakeWmiState> state, const NamespaceScript& script)
        : UnexpectedServices{std::move(state), "IWbemServices"},
          m_script{script}
    {
    }

    STDMETHODIMP ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext* context,
                           IEnumWbemClassObject** enumerator) override
    {
        return Perform("ExecQuery", ShowAll<LPCWSTR, LPCWSTR>(language, query) + L", " + ShowAll(flags, context), [&] {
            *enumerator = new FakeEnumerator{SharedState(), Answer(query)};
            return S_OK;
        });
    }

    STDMETHODIMP CreateInstanceEnum(const BSTR name, LONG flags, IWbemContext* context,
                                    IEnumWbemClassObject** enumerator) override
    {
        return Perform("CreateInstanceEnum", ShowAll<LPCWSTR>(name) + L", " + ShowAll(flags, context), [&] {
            *enumerator = new FakeEnumerator{SharedState(), InstancesOf(name)};
            return S_OK;
        });
    }

    STDMETHODIMP GetObject(const BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                           IWbemCallResult** result) override
    {
        return Perform("GetObject", ShowAll<LPCWSTR>(path) + L", " + ShowAll(flags, context, result), [&] {
            const auto found = m_script.classes.find(path);
            if (found == m_script.classes.end())
            {
                return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
            }
            *object = new FakeObject{SharedState(), found->second};
            return S_OK;
        });
    }

    STDMETHODIMP ExecMethod(const BSTR path, const BSTR method, LONG flags, IWbemContext* context,
                            IWbemClassObject* input, IWbemClassObject** output, IWbemCallResult** result) override
    {
        const std::wstring arguments =
            ShowAll<LPCWSTR, LPCWSTR>(path, method) + L", " + ShowAll(flags, context, input, output, result);
        return Perform("ExecMethod", arguments, [&] {
            ObjectScriptPtr returned;
            const HRESULT hr = m_script.execute ? m_script.execute({path, method, input}, returned)
                                                : static_cast<HRESULT>(WBEM_E_INVALID_METHOD);
            if (SUCCEEDED(hr) && returned != nullptr)
            {
                *output = new FakeObject{SharedState(), returned};
            }
            return hr;
        });
    }

    STDMETHODIMP ExecNotificationQueryAsync(const BSTR language, const BSTR query, LONG flags, IWbemContext* context,
                                            IWbemObjectSink* sink) override
    {
        if (m_script.events == nullptr)
        {
            return Unexpected("ExecNotificationQueryAsync");
        }
        return Perform("ExecNotificationQueryAsync",
                       ShowAll<LPCWSTR, LPCWSTR>(language, query) + L", " + ShowAll(flags, context, sink), [&] {
                           m_script.events->Subscribe(sink);
                           return S_OK;
                       });
    }

    STDMETHODIMP CancelAsyncCall(IWbemObjectSink* sink) override
    {
        if (m_script.events == nullptr)
        {
            return Unexpected("CancelAsyncCall");
        }
        return Perform("CancelAsyncCall", ShowAll(sink), [&] {
            return m_script.events->Cancel(sink) ? S_OK : static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER);
        });
    }

private:
    ~FakeServices() override = default;

    HRESULT QueryOther(REFIID iid, void** object) override
    {
        if (!IsEqualIID(iid, IID_IClientSecurity))
        {
            return E_NOINTERFACE;
        }
        *object = static_cast<IClientSecurity*>(new FakeClientSecurity{SharedState(), "IClientSecurity"});
        return S_OK;
    }

    [[nodiscard]] Results InstancesOf(const std::wstring& name) const
    {
        const auto found = m_script.instances.find(name);
        return found != m_script.instances.end() ? found->second
                                                 : Results{.end = static_cast<HRESULT>(WBEM_E_INVALID_CLASS)};
    }

    [[nodiscard]] Results Answer(const std::wstring& query) const
    {
        static constexpr std::wstring_view WholeClass = L"SELECT * FROM ";
        if (const auto found = m_script.queries.find(query); found != m_script.queries.end())
        {
            return found->second;
        }
        const std::wstring name = query.starts_with(WholeClass) ? query.substr(WholeClass.size()) : std::wstring{};
        return name.empty() || name.find(L' ') != name.npos ? Results{.end = static_cast<HRESULT>(WBEM_E_INVALID_QUERY)}
                                                            : InstancesOf(name);
    }

    const NamespaceScript& m_script;
};

class FakeLocator final : public FakeCom<IWbemLocator>
{
public:
    using FakeCom::FakeCom;

    STDMETHODIMP ConnectServer(const BSTR path, const BSTR user, const BSTR password, const BSTR locale, LONG flags,
                               const BSTR authority, IWbemContext* context, IWbemServices** services) override
    {
        const std::wstring arguments =
            ShowAll<LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, LONG, LPCWSTR>(path, user, password, locale, flags, authority) +
            L", " + ShowAll(context);
        return Perform("ConnectServer", arguments, [&] {
            const auto found = State().script.find(path);
            if (found == State().script.end())
            {
                return static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);
            }
            *services = new FakeServices{SharedState(), found->second};
            return S_OK;
        });
    }

private:
    ~FakeLocator() override = default;
};

} // namespace

FakeWmi::FakeWmi(PlatformCalls& calls, Transcript& transcript, FaultPlan& plan)
    : m_calls{calls},
      m_state{std::make_shared<FakeWmiState>(transcript, plan, script)}
{
    m_calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
        [this](REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) {
            if (IsEqualCLSID(clsid, CLSID_UnsecuredApartment))
            {
                return CreateFakeApartment(m_state, iid, object);
            }
            if (!IsEqualCLSID(clsid, CLSID_WbemLocator))
            {
                return m_calls.Original<"CoCreateInstance", decltype(CoCreateInstance)>()(clsid, outer, context, iid,
                                                                                          object);
            }
            auto* const locator = new FakeLocator{m_state, "IWbemLocator"};
            const HRESULT hr = locator->QueryInterface(iid, object);
            locator->Release();
            return hr;
        });
}

FakeWmi::~FakeWmi()
{
    m_calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>({});
}

IWbemClassObject* FakeWmi::NewObject(ObjectScriptPtr object) const
{
    return new FakeObject{m_state, std::move(object)};
}

std::wstring ShowVariant(const VARIANT* variant)
{
    switch (variant->vt)
    {
    case VT_EMPTY:
        return L"VT_EMPTY";
    case VT_NULL:
        return L"VT_NULL";
    case VT_I4:
        return L"VT_I4 " + std::to_wstring(variant->lVal);
    case VT_BOOL:
        return variant->boolVal != VARIANT_FALSE ? L"VT_BOOL true" : L"VT_BOOL false";
    case VT_BSTR:
        return L"VT_BSTR " + Show<LPCWSTR>(variant->bstrVal);
    case VT_UNKNOWN:
        return L"VT_UNKNOWN " + Show(variant->punkVal);
    case VT_ARRAY | VT_UI1:
        break;
    default:
        return L"VARTYPE " + std::to_wstring(variant->vt);
    }
    if (variant->parray == nullptr)
    {
        return L"VT_ARRAY|VT_UI1 null";
    }
    LONG lower = 0;
    LONG upper = 0;
    SafeArrayGetLBound(variant->parray, 1, &lower);
    SafeArrayGetUBound(variant->parray, 1, &upper);
    std::wstring text = L"VT_ARRAY|VT_UI1 " + (lower == 0 ? L"" : L"from " + std::to_wstring(lower) + L" ") + L"[";
    for (LONG index = lower; index <= upper; ++index)
    {
        std::uint8_t byte = 0;
        SafeArrayGetElement(variant->parray, &index, &byte);
        wchar_t hex[4];
        swprintf_s(hex, L"%s%02x", index == lower ? L"" : L" ", byte);
        text += hex;
    }
    return text + L"]";
}

} // namespace Zv::Testing
