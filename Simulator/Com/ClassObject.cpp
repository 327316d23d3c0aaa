#include "Simulator/Com/ClassObject.h"

#include "Simulator/Cim/MofText.h"
#include "Simulator/Cim/SystemProperties.h"
#include "Simulator/Cim/ValueCompare.h"
#include "Simulator/Com/QualifierSet.h"
#include "Simulator/Com/VariantConversion.h"

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;

namespace
{

// Known to the simulator only: finds the object behind an interface pointer.
// {5C0C9D2E-6C5B-4C6B-9E0B-3B1E1C9F7A41}
constexpr GUID ImplementationId = {0x5c0c9d2e, 0x6c5b, 0x4c6b, {0x9e, 0x0b, 0x3b, 0x1e, 0x1c, 0x9f, 0x7a, 0x41}};

template <class T>
void Store(T* target, T value) noexcept
{
    if (target != nullptr)
    {
        *target = value;
    }
}

// Which properties the condition flags of GetNames and BeginEnumeration choose. Nothing is inherited here, so that
// every property of a class is a local one.
std::vector<std::wstring> ChooseNames(const Object& object, LONG flags)
{
    constexpr LONG originMask = WBEM_MASK_CONDITION_ORIGIN;
    const LONG origin = flags & originMask;
    const bool keysOnly = (flags & WBEM_FLAG_KEYS_ONLY) != 0;
    const bool referencesOnly = (flags & WBEM_FLAG_REFS_ONLY) != 0;
    std::vector<std::wstring> names;
    if ((origin == 0 || origin == WBEM_FLAG_SYSTEM_ONLY) && !keysOnly && !referencesOnly)
    {
        names.assign(SystemPropertyNames().begin(), SystemPropertyNames().end());
    }
    if (origin == WBEM_FLAG_SYSTEM_ONLY || origin == WBEM_FLAG_PROPAGATED_ONLY)
    {
        return names;
    }
    for (const Property& property : object.definition->properties)
    {
        if ((!keysOnly || property.key) && (!referencesOnly || property.ElementType() == CIM_REFERENCE))
        {
            names.push_back(property.name);
        }
    }
    return names;
}

// Whether a property has the qualifier, with this value if one is given. System properties have none.
bool Qualifies(const Object& object, const std::wstring& name, const wchar_t* qualifier, const VARIANT* value)
{
    const auto index = object.definition->FindProperty(name);
    const QualifierList qualifiers =
        index ? QualifiersOf(object, object.definition->properties[*index]) : QualifierList{};
    const Qualifier* const found = FindQualifier(qualifiers, qualifier);
    if (found == nullptr || value == nullptr)
    {
        return found != nullptr;
    }
    Property type;
    type.type = found->type;
    Value wanted;
    return SUCCEEDED(FromVariant(*value, type, wanted)) && SameValue(wanted, found->value);
}

std::wstring TypeDetail(const VARIANT* value, CIMTYPE type)
{
    if (value == nullptr)
    {
        return L"null, " + std::to_wstring(type);
    }
    const bool nullArray = (V_VT(value) & VT_ARRAY) != 0 && V_ARRAY(value) == nullptr;
    const bool nullString = V_VT(value) == VT_BSTR && V_BSTR(value) == nullptr;
    return std::to_wstring(V_VT(value)) + (nullArray || nullString ? L" (null), " : L", ") + std::to_wstring(type);
}

} // namespace

ClassObject::ClassObject(CorePtr core, ObjectPtr object) : ComObject{std::move(core)}, m_object{std::move(object)} {}

ObjectPtr ClassObject::Content() const
{
    const LockGuard guard{m_lock};
    return m_object;
}

HRESULT ClassObject::QueryInterface(REFIID iid, void** result)
{
    if (result != nullptr && iid == ImplementationId)
    {
        *result = this;
        AddRef();
        return S_OK;
    }
    return Query(Site::ObjectQueryInterface, iid, result, IID_IWbemClassObject);
}

HRESULT ClassObject::GetQualifierSet(IWbemQualifierSet** qualifiers)
{
    return PresentQualifiers(Site::ObjectGetQualifierSet, L"", qualifiers,
                             [](const Object& object, QualifierList& list) {
                                 list = QualifiersOf(object);
                                 return S_OK;
                             });
}

HRESULT ClassObject::GetPropertyQualifierSet(LPCWSTR name, IWbemQualifierSet** qualifiers)
{
    return PresentQualifiers(Site::ObjectGetPropertyQualifierSet, name, qualifiers,
                             [&](const Object& object, QualifierList& list) -> HRESULT {
                                 const auto index = object.definition->FindProperty(name);
                                 if (!index)
                                 {
                                     return Status(IsSystemName(name) ? WBEM_E_SYSTEM_PROPERTY : WBEM_E_NOT_FOUND);
                                 }
                                 list = QualifiersOf(object, object.definition->properties[*index]);
                                 return S_OK;
                             });
}

HRESULT ClassObject::GetMethodQualifierSet(LPCWSTR name, IWbemQualifierSet** qualifiers)
{
    return PresentQualifiers(Site::ObjectGetMethodQualifierSet, name, qualifiers,
                             [&](const Object& object, QualifierList& list) -> HRESULT {
                                 if (object.isInstance)
                                 {
                                     return Status(WBEM_E_ILLEGAL_OPERATION);
                                 }
                                 const Method* const method = object.definition->FindMethod(name);
                                 if (method == nullptr)
                                 {
                                     return Status(WBEM_E_NOT_FOUND);
                                 }
                                 list = QualifiersOf(*method);
                                 return S_OK;
                             });
}

HRESULT ClassObject::PresentQualifiers(Site site, LPCWSTR name, IWbemQualifierSet** qualifiers,
                                       const std::function<HRESULT(const Object&, QualifierList&)>& find)
{
    return Gate().Call(site, name == nullptr ? L"" : name, [&]() -> HRESULT {
        if (name == nullptr || qualifiers == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *qualifiers = nullptr;
        QualifierList list;
        const HRESULT hr = find(*Content(), list);
        if (SUCCEEDED(hr))
        {
            *qualifiers = MakeObject<QualifierSet>(SharedCore(), std::move(list)).Detach();
        }
        return hr;
    });
}

HRESULT ClassObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return Gate().Call(Site::ObjectGet, name == nullptr ? L"" : name, [&]() -> HRESULT {
        if (name == nullptr || flags != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        return Fetch(name, value, type, flavor);
    });
}

HRESULT ClassObject::Fetch(std::wstring_view name, VARIANT* value, CIMTYPE* type, LONG* flavor) const
{
    const ObjectPtr object = Content();
    if (const auto index = object->definition->FindProperty(name))
    {
        const Property& property = object->definition->properties[*index];
        if (value != nullptr)
        {
            ToVariant(SharedCore(), object->values[*index], property.type, *value);
        }
        Store(type, property.type);
        Store<LONG>(flavor, WBEM_FLAVOR_ORIGIN_LOCAL);
        return S_OK;
    }
    const auto system = FindSystemProperty(*object, name);
    if (!system)
    {
        return Status(WBEM_E_NOT_FOUND);
    }
    if (value != nullptr)
    {
        ToVariant(SharedCore(), system->value, system->type, *value);
    }
    Store(type, system->type);
    Store<LONG>(flavor, WBEM_FLAVOR_ORIGIN_SYSTEM);
    return S_OK;
}

HRESULT ClassObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type)
{
    return Gate().Call(
        Site::ObjectPut, name == nullptr ? L"" : name, [&] { return TypeDetail(value, type); },
        [&]() -> HRESULT {
            if (name == nullptr || flags != 0)
            {
                return Status(WBEM_E_INVALID_PARAMETER);
            }
            return StoreProperty(name, value, type);
        });
}

HRESULT ClassObject::StoreProperty(std::wstring_view name, const VARIANT* value, CIMTYPE type)
{
    // The VARIANT may hold this very object: look at it before taking the lock.
    const ObjectPtr before = Content();
    const auto index = before->definition->FindProperty(name);
    if (!index)
    {
        const bool isText = value != nullptr && V_VT(value) == VT_BSTR && V_BSTR(value) != nullptr;
        if (isText && !before->isInstance && EqualNoCase(name, L"__CLASS"))
        {
            return Rename(V_BSTR(value));
        }
        // Other system properties are the machine's; new properties would make another class.
        return Status(IsSystemName(name) ? WBEM_E_INVALID_PARAMETER : WBEM_E_NOT_FOUND);
    }
    const Property& property = before->definition->properties[*index];
    if (type != 0 && type != property.type)
    {
        return Status(WBEM_E_TYPE_MISMATCH);
    }
    Value converted;
    if (value != nullptr)
    {
        const HRESULT hr = FromVariant(*value, property, converted);
        if (FAILED(hr))
        {
            return hr;
        }
    }
    const LockGuard guard{m_lock};
    auto changed = std::make_shared<Object>(*m_object);
    changed->values[*index] = std::move(converted);
    m_object = std::move(changed);
    return S_OK;
}

// A class that is to become another one; nobody can put it into the machine.
HRESULT ClassObject::Rename(std::wstring_view name)
{
    const LockGuard guard{m_lock};
    auto definition = std::make_shared<Class>(*m_object->definition);
    definition->name = name;
    auto changed = std::make_shared<Object>(*m_object);
    changed->definition = std::move(definition);
    m_object = std::move(changed);
    return S_OK;
}

HRESULT ClassObject::Delete(LPCWSTR name)
{
    return Gate().Call(Site::ObjectDelete, name == nullptr ? L"" : name, [&]() -> HRESULT {
        if (name == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const LockGuard guard{m_lock};
        const auto index = m_object->definition->FindProperty(name);
        if (!index)
        {
            return Status(IsSystemName(name) ? WBEM_E_SYSTEM_PROPERTY : WBEM_E_NOT_FOUND);
        }
        if (!m_object->isInstance)
        {
            return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
        }
        // Of an instance only the value goes, and the class's own comes back.
        auto changed = std::make_shared<Object>(*m_object);
        changed->values[*index] = m_object->definition->properties[*index].initial;
        m_object = std::move(changed);
        return static_cast<HRESULT>(WBEM_S_RESET_TO_DEFAULT);
    });
}

HRESULT ClassObject::GetNames(LPCWSTR qualifier, LONG flags, VARIANT* value, SAFEARRAY** names)
{
    return Gate().Call(Site::ObjectGetNames, {}, [&]() -> HRESULT {
        if (names == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *names = nullptr;
        const LONG condition = flags & WBEM_MASK_PRIMARY_CONDITION;
        if (condition != WBEM_FLAG_ALWAYS && qualifier == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const ObjectPtr object = Content();
        std::vector<std::wstring> chosen = ChooseNames(*object, flags);
        if (condition != WBEM_FLAG_ALWAYS)
        {
            std::erase_if(chosen, [&](const std::wstring& name) {
                return Qualifies(*object, name, qualifier, value) == (condition == WBEM_FLAG_ONLY_IF_FALSE);
            });
        }
        *names = MakeStringArray(GetCore(), chosen);
        return S_OK;
    });
}

HRESULT ClassObject::BeginEnumeration(LONG flags)
{
    return Gate().Call(Site::ObjectBeginEnumeration, {}, [&]() -> HRESULT {
        const LockGuard guard{m_lock};
        m_names = ChooseNames(*m_object, flags);
        m_nextName = 0;
        return S_OK;
    });
}

HRESULT ClassObject::Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return Gate().Call(Site::ObjectNext, {}, [&]() -> HRESULT {
        if (flags != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        std::wstring current;
        {
            const LockGuard guard{m_lock};
            if (!m_names)
            {
                return Status(WBEM_E_UNEXPECTED);
            }
            if (m_nextName == m_names->size())
            {
                return Status(WBEM_S_NO_MORE_DATA);
            }
            current = (*m_names)[m_nextName++];
        }
        if (name != nullptr)
        {
            *name = MakeString(GetCore(), current);
        }
        return Fetch(current, value, type, flavor);
    });
}

HRESULT ClassObject::EndEnumeration()
{
    return Gate().Call(Site::ObjectEndEnumeration, {}, [&]() -> HRESULT {
        const LockGuard guard{m_lock};
        m_names.reset();
        return S_OK;
    });
}

HRESULT ClassObject::Clone(IWbemClassObject** copy)
{
    return Gate().Call(Site::ObjectClone, {}, [&]() -> HRESULT {
        if (copy == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *copy = Present(SharedCore(), Content()).Detach();
        return S_OK;
    });
}

HRESULT ClassObject::GetObjectText(LONG flags, BSTR* text)
{
    const ObjectPtr object = Content();
    return Gate().Call(Site::ObjectGetObjectText, object->definition->name, [&]() -> HRESULT {
        if (text == nullptr || (flags & ~Flags(WBEM_FLAG_NO_FLAVORS)) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *text = MakeString(GetCore(), MofText(*object));
        return S_OK;
    });
}

HRESULT ClassObject::SpawnDerivedClass(LONG, IWbemClassObject**)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE); // descriptions know no inheritance
}

HRESULT ClassObject::SpawnInstance(LONG flags, IWbemClassObject** instance)
{
    const ObjectPtr object = Content();
    return Gate().Call(Site::ObjectSpawnInstance, object->definition->name, [&]() -> HRESULT {
        if (instance == nullptr || flags != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *instance = nullptr;
        if (object->isInstance)
        {
            return Status(WBEM_E_INVALID_OPERATION);
        }
        *instance = Present(SharedCore(), MakeInstance(object->definition)).Detach();
        return S_OK;
    });
}

HRESULT ClassObject::CompareTo(LONG flags, IWbemClassObject* other)
{
    return Gate().Call(Site::ObjectCompareTo, {}, [&]() -> HRESULT {
        constexpr LONG known =
            Flags(WBEM_FLAG_IGNORE_QUALIFIERS, WBEM_FLAG_IGNORE_OBJECT_SOURCE, WBEM_FLAG_IGNORE_DEFAULT_VALUES,
                  WBEM_FLAG_IGNORE_CLASS, WBEM_FLAG_IGNORE_CASE, WBEM_FLAG_IGNORE_FLAVOR);
        const ObjectPtr theirs = other == nullptr ? nullptr : Snapshot(*other);
        if (theirs == nullptr || (flags & ~known) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        return SameObject(*Content(), *theirs) ? Status(WBEM_S_SAME) : Status(WBEM_S_DIFFERENT);
    });
}

HRESULT ClassObject::GetPropertyOrigin(LPCWSTR name, BSTR* className)
{
    return Gate().Call(Site::ObjectGetPropertyOrigin, name == nullptr ? L"" : name, [&]() -> HRESULT {
        if (name == nullptr || className == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *className = nullptr;
        const ObjectPtr object = Content();
        if (object->definition->FindProperty(name))
        {
            *className = MakeString(GetCore(), object->definition->name);
            return S_OK;
        }
        if (FindSystemProperty(*object, name))
        {
            *className = MakeString(GetCore(), L"___SYSTEM");
            return S_OK;
        }
        return Status(WBEM_E_NOT_FOUND);
    });
}

HRESULT ClassObject::InheritsFrom(LPCWSTR ancestor)
{
    return Gate().Call(Site::ObjectInheritsFrom, ancestor == nullptr ? L"" : ancestor, [&]() -> HRESULT {
        if (ancestor == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        return EqualNoCase(Content()->definition->name, ancestor) ? S_OK : Status(WBEM_S_FALSE);
    });
}

ComPtr<IWbemClassObject> Present(const CorePtr& core, ObjectPtr object)
{
    return ComPtr<IWbemClassObject>{MakeObject<ClassObject>(core, std::move(object)).Detach()};
}

ObjectPtr Snapshot(IUnknown& object)
{
    ComPtr<ClassObject> ours;
    return SUCCEEDED(object.QueryInterface(ImplementationId, ours.ReceiveVoid())) ? ours->Content() : nullptr;
}

} // namespace Zv::Simulator
