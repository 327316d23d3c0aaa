#include "Simulator/Com/QualifierSet.h"

#include "Simulator/Com/VariantConversion.h"

#include <algorithm>
#include <iterator>

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;

namespace
{

constexpr LONG Origins = Flags(WBEM_FLAG_LOCAL_ONLY, WBEM_FLAG_PROPAGATED_ONLY);

// Those that the flags of GetNames and BeginEnumeration choose.
QualifierList Choose(QualifierList qualifiers, LONG flags)
{
    std::erase_if(qualifiers, [&](const Qualifier& q) {
        const bool propagated = (q.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
        return (flags == WBEM_FLAG_LOCAL_ONLY && propagated) || (flags == WBEM_FLAG_PROPAGATED_ONLY && !propagated);
    });
    return qualifiers;
}

} // namespace

HRESULT QualifierSet::QueryInterface(REFIID iid, void** result)
{
    return Query(Site::QualifiersQueryInterface, iid, result, IID_IWbemQualifierSet);
}

HRESULT QualifierSet::Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor)
{
    return Gate().Call(Site::QualifiersGet, name == nullptr ? L"" : name, [&]() -> HRESULT {
        if (name == nullptr || flags != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const Qualifier* const found = FindQualifier(m_qualifiers, name);
        if (found == nullptr)
        {
            return Status(WBEM_E_NOT_FOUND);
        }
        Show(*found, value, flavor);
        return S_OK;
    });
}

HRESULT QualifierSet::Put(LPCWSTR, VARIANT*, LONG)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT QualifierSet::Delete(LPCWSTR)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT QualifierSet::GetNames(LONG flags, SAFEARRAY** names)
{
    return Gate().Call(Site::QualifiersGetNames, {}, [&]() -> HRESULT {
        if (names == nullptr || (flags & ~Origins) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *names = nullptr;
        std::vector<std::wstring> texts;
        std::ranges::transform(Choose(m_qualifiers, flags), std::back_inserter(texts), &Qualifier::name);
        *names = MakeStringArray(GetCore(), texts);
        return S_OK;
    });
}

HRESULT QualifierSet::BeginEnumeration(LONG flags)
{
    return Gate().Call(Site::QualifiersBeginEnumeration, {}, [&]() -> HRESULT {
        if ((flags & ~Origins) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        QualifierList chosen = Choose(m_qualifiers, flags);
        std::ranges::reverse(chosen);
        const LockGuard guard{m_lock};
        m_toCome = std::move(chosen);
        return S_OK;
    });
}

HRESULT QualifierSet::Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor)
{
    return Gate().Call(Site::QualifiersNext, {}, [&]() -> HRESULT {
        if (flags != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const LockGuard guard{m_lock};
        if (!m_toCome)
        {
            return Status(WBEM_E_UNEXPECTED);
        }
        if (m_toCome->empty())
        {
            return Status(WBEM_S_NO_MORE_DATA);
        }
        const Qualifier next = std::move(m_toCome->back());
        m_toCome->pop_back();
        Show(next, value, flavor);
        if (name != nullptr)
        {
            *name = MakeString(GetCore(), next.name);
        }
        return S_OK;
    });
}

HRESULT QualifierSet::EndEnumeration()
{
    return Gate().Call(Site::QualifiersEndEnumeration, {}, [&]() -> HRESULT {
        const LockGuard guard{m_lock};
        m_toCome.reset();
        return S_OK;
    });
}

void QualifierSet::Show(const Qualifier& qualifier, VARIANT* value, LONG* flavor) const
{
    if (value != nullptr)
    {
        ToVariant(SharedCore(), qualifier.value, qualifier.type, *value);
    }
    if (flavor != nullptr)
    {
        *flavor = qualifier.flavor;
    }
}

} // namespace Zv::Simulator
