#include "Simulator/Com/Services.h"

#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Com/ClassObject.h"
#include "Simulator/Com/ConnectNamespace.h"
#include "Simulator/Com/QueryRunner.h"

#include <algorithm>

namespace Zv::Simulator
{

namespace
{

constexpr const wchar_t* Language = L"WQL";

std::wstring_view View(BSTR text) noexcept
{
    return text == nullptr ? std::wstring_view{} : std::wstring_view{text};
}

} // namespace

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
        if (object == nullptr || callResult != nullptr || (flags & ~known) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *object = nullptr;
        ObjectPtr found;
        if (View(path).empty()) // an empty class, to make a new one of
        {
            found = MakeClassObject(std::make_shared<Class>());
        }
        else if (const HRESULT hr = Find(path, found); FAILED(hr))
        {
            return hr;
        }
        *object = Present(SharedCore(), std::move(found)).Detach();
        return S_OK;
    });
}

HRESULT Services::Find(std::wstring_view text, ObjectPtr& object) const
{
    const std::optional<ObjectPath> path = ParseObjectPath(text);
    if (!path)
    {
        return Status(WBEM_E_INVALID_OBJECT_PATH);
    }
    if (!path->nameSpace.empty())
    {
        const std::optional<NamespaceName> name = ParseNamespace(path->nameSpace);
        const bool here = name && EqualNoCase(name->path, m_nameSpace.path) &&
                          (name->server.empty() || EqualNoCase(name->server, GetCore().description.server));
        if (!here)
        {
            return Status(WBEM_E_INVALID_NAMESPACE);
        }
    }
    const ClassEntry* const entry = FindClass(m_nameSpace, path->className);
    if (entry == nullptr)
    {
        return Status(path->isInstance ? WBEM_E_INVALID_CLASS : WBEM_E_NOT_FOUND);
    }
    if (!path->isInstance)
    {
        object = MakeClassObject(entry->definition);
        return S_OK;
    }
    for (const ObjectPtr& instance : GetCore().state.Instances(*entry->definition))
    {
        if (Names(*path, *instance))
        {
            object = instance;
            return S_OK;
        }
    }
    return Status(WBEM_E_NOT_FOUND);
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
    return Enumerate(Site::ServicesCreateClassEnum, View(superclass), flags, enumerator, [&]() -> ResultSetPtr {
        auto results = std::make_shared<ResultSet>();
        results->className = View(superclass);
        if (!results->className.empty()) // no class has another above it
        {
            results->status =
                FindClass(m_nameSpace, results->className) == nullptr ? Status(WBEM_E_INVALID_CLASS) : S_OK;
            return results;
        }
        for (const ClassEntry& entry : m_nameSpace.classes)
        {
            results->objects.push_back(MakeClassObject(entry.definition));
        }
        return results;
    });
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
    if (enumerator == nullptr || View(language).empty() || View(query).empty() || (flags & ~known) != 0)
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    *enumerator = nullptr;
    if (!EqualNoCase(language, Language))
    {
        return Status(WBEM_E_INVALID_QUERY_TYPE);
    }
    return Enumerate(Site::ServicesExecQuery, query, flags, enumerator,
                     [&] { return RunQuery(GetCore(), m_nameSpace, query); });
}

HRESULT Services::ExecMethod(BSTR path, BSTR method, LONG flags, IWbemContext*, IWbemClassObject* in,
                             IWbemClassObject** out, IWbemCallResult** callResult)
{
    return Gate().Call(
        Site::ServicesExecMethod, View(method), [&] { return std::wstring{View(path)}; },
        [&]() -> HRESULT {
            if (View(path).empty() || View(method).empty() || callResult != nullptr ||
                (flags & ~Flags(WBEM_FLAG_RETURN_IMMEDIATELY)) != 0)
            {
                return Status(WBEM_E_INVALID_PARAMETER);
            }
            return Invoke(path, method, in, out);
        });
}

HRESULT Services::Invoke(std::wstring_view path, std::wstring_view name, IWbemClassObject* in, IWbemClassObject** out)
{
    if (out != nullptr)
    {
        *out = nullptr;
    }
    ObjectPtr target;
    if (const HRESULT hr = Find(path, target); FAILED(hr))
    {
        return hr;
    }
    const Method* const method = target->definition->FindMethod(name);
    if (method == nullptr)
    {
        return Status(WBEM_E_INVALID_METHOD);
    }
    ObjectPtr parameters = in == nullptr ? nullptr : Snapshot(*in);
    const bool fits = parameters == nullptr ? method->in == nullptr && in == nullptr
                                            : parameters->isInstance && parameters->definition == method->in;
    if (!fits)
    {
        return Status(WBEM_E_INVALID_METHOD_PARAMETERS);
    }
    const Answer answer = GetCore().state.Invoke(m_nameSpace, path, *method, std::move(parameters));
    static_cast<void>(Gate().Wait(answer.delay, answer.hang, INFINITE));
    if (SUCCEEDED(answer.status) && out != nullptr && answer.out != nullptr)
    {
        *out = Present(SharedCore(), answer.out).Detach();
    }
    return answer.status;
}

} // namespace Zv::Simulator
