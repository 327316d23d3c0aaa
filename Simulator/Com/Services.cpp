#include "Simulator/Com/Services.h"

#include "Simulator/Com/CallResult.h"
#include "Simulator/Com/ClassObject.h"
#include "Simulator/Com/ConnectNamespace.h"
#include "Simulator/Com/NamespaceCalls.h"
#include "Simulator/Com/QueryRunner.h"

namespace Zv::Simulator
{

HRESULT CheckLanguage(BSTR language, BSTR query) noexcept
{
    if (View(language).empty() || View(query).empty())
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    return EqualNoCase(language, L"WQL") ? S_OK : Status(WBEM_E_INVALID_QUERY_TYPE);
}

Services::Services(CorePtr core, const Namespace& nameSpace) : ComObject{std::move(core)}, m_nameSpace{nameSpace} {}

HRESULT Services::QueryInterface(REFIID iid, void** result)
{
    return QueryProxy<IWbemServices>(Gate(), SharedCore(), Site::ServicesQueryInterface, *this, m_blanket, iid, result);
}

HRESULT Services::OpenNamespace(BSTR path, LONG flags, IWbemContext*, IWbemServices** opened,
                                IWbemCallResult** callResult)
{
    return Gate().Call(Site::ServicesOpenNamespace, View(path), [&]() -> HRESULT {
        if (path == nullptr || opened == nullptr || callResult != nullptr ||
            (flags & ~Flags(WBEM_FLAG_RETURN_IMMEDIATELY, WBEM_FLAG_CONNECT_REPOSITORY_ONLY)) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        return ConnectNamespace(SharedCore(), m_nameSpace.path + L"\\" + path, opened);
    });
}

HRESULT Services::GetObject(BSTR path, LONG flags, IWbemContext*, IWbemClassObject** object,
                            IWbemCallResult** callResult)
{
    return Gate().Call(Site::ServicesGetObject, View(path), [&]() -> HRESULT {
        constexpr LONG known =
            Flags(WBEM_FLAG_RETURN_IMMEDIATELY, WBEM_FLAG_USE_AMENDED_QUALIFIERS, WBEM_FLAG_DIRECT_READ);
        if ((object == nullptr && callResult == nullptr) || (flags & ~known) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        return RunOrStart(flags, object, callResult,
                          [core = SharedCore(), &nameSpace = m_nameSpace, path = std::wstring{View(path)}](
                              ObjectPtr& result) { return FindObject(*core, nameSpace, path, result); });
    });
}

HRESULT Services::Enumerate(Site site, std::wstring_view about, LONG flags, IEnumWbemClassObject** enumerator,
                            const std::function<ResultSetPtr()>& run)
{
    return Gate().Call(
        site, about, [&] { return std::to_wstring(flags); },
        [&]() -> HRESULT {
            const ResultSetPtr results = run();
            // Who does not wait for the query learns of its failure only when fetching.
            if (FAILED(results->status) && (flags & WBEM_FLAG_RETURN_IMMEDIATELY) == 0)
            {
                return results->status;
            }
            const bool forwardOnly = (flags & WBEM_FLAG_FORWARD_ONLY) != 0;
            *enumerator = MakeObject<Enumerator>(SharedCore(), results, forwardOnly).Detach();
            return S_OK;
        });
}

HRESULT Services::CreateClassEnum(BSTR superclass, LONG flags, IWbemContext*, IEnumWbemClassObject** enumerator)
{
    constexpr LONG known = Flags(WBEM_FLAG_SHALLOW, WBEM_FLAG_RETURN_IMMEDIATELY, WBEM_FLAG_FORWARD_ONLY,
                                 WBEM_FLAG_USE_AMENDED_QUALIFIERS);
    if (enumerator == nullptr || (flags & ~known) != 0)
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *enumerator = nullptr;
    return Enumerate(Site::ServicesCreateClassEnum, View(superclass), flags, enumerator,
                     [&] { return ClassesOf(m_nameSpace, View(superclass)); });
}

HRESULT Services::CreateInstanceEnum(BSTR className, LONG flags, IWbemContext*, IEnumWbemClassObject** enumerator)
{
    constexpr LONG known = Flags(WBEM_FLAG_SHALLOW, WBEM_FLAG_RETURN_IMMEDIATELY, WBEM_FLAG_FORWARD_ONLY,
                                 WBEM_FLAG_USE_AMENDED_QUALIFIERS, WBEM_FLAG_DIRECT_READ, WBEM_FLAG_ENSURE_LOCATABLE);
    if (enumerator == nullptr || View(className).empty() || (flags & ~known) != 0)
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *enumerator = nullptr;
    return Enumerate(Site::ServicesCreateInstanceEnum, className, flags, enumerator,
                     [&] { return InstancesOf(GetCore(), m_nameSpace, className); });
}

HRESULT Services::ExecQuery(BSTR language, BSTR query, LONG flags, IWbemContext*, IEnumWbemClassObject** enumerator)
{
    constexpr LONG known = Flags(WBEM_FLAG_RETURN_IMMEDIATELY, WBEM_FLAG_FORWARD_ONLY, WBEM_FLAG_ENSURE_LOCATABLE,
                                 WBEM_FLAG_USE_AMENDED_QUALIFIERS, WBEM_FLAG_DIRECT_READ);
    if (enumerator == nullptr || (flags & ~known) != 0)
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *enumerator = nullptr;
    if (const HRESULT hr = CheckLanguage(language, query); FAILED(hr))
    {
        return hr;
    }
    return Enumerate(Site::ServicesExecQuery, query, flags, enumerator, [&] {
        const bool located = (flags & WBEM_FLAG_ENSURE_LOCATABLE) != 0;
        return RunQuery(GetCore(), m_nameSpace, query, located);
    });
}

HRESULT Services::ExecMethod(BSTR path, BSTR method, LONG flags, IWbemContext*, IWbemClassObject* in,
                             IWbemClassObject** out, IWbemCallResult** callResult)
{
    return Gate().Call(
        Site::ServicesExecMethod, View(method), [&] { return std::wstring{View(path)}; },
        [&]() -> HRESULT {
            if (View(path).empty() || View(method).empty() || (flags & ~Flags(WBEM_FLAG_RETURN_IMMEDIATELY)) != 0)
            {
                return Status(WBEM_E_INVALID_PARAMETER);
            }
            return RunOrStart(flags, out, callResult,
                              [core = SharedCore(), &nameSpace = m_nameSpace, path = std::wstring{path},
                               method = std::wstring{method}, parameters = Parameters{in}](ObjectPtr& result) {
                                  return InvokeMethod(*core, nameSpace, path, method, parameters, result);
                              });
        });
}

// A call for one object, waited for unless the caller gave a place for the call's result.
HRESULT Services::RunOrStart(LONG flags, IWbemClassObject** object, IWbemCallResult** callResult,
                             const std::function<HRESULT(ObjectPtr&)>& run)
{
    if (object != nullptr)
    {
        *object = nullptr;
    }
    if (callResult == nullptr)
    {
        ObjectPtr result;
        const HRESULT hr = run(result);
        if (SUCCEEDED(hr) && object != nullptr && result != nullptr)
        {
            *object = Present(SharedCore(), std::move(result)).Detach();
        }
        return hr;
    }
    if ((flags & WBEM_FLAG_RETURN_IMMEDIATELY) == 0)
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *callResult = nullptr;
    const auto call = std::make_shared<PendingCall>(nullptr);
    ComPtr<CallResult> pending = MakeObject<CallResult>(SharedCore(), call);
    GetCore().calls.Start(call, [run](PendingCall&, ObjectPtr& result) { return run(result); });
    *callResult = pending.Detach();
    return S_OK;
}

} // namespace Zv::Simulator
