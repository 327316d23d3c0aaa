#include "Simulator/Cim/Qualifiers.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Cim/StatusNames.h"

#include <algorithm>

namespace Zv::Simulator
{

namespace
{

constexpr LONG ToAll = Flags(WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
constexpr LONG Fixed = Flags(WBEM_FLAVOR_NOT_OVERRIDABLE);
constexpr LONG OfClass = Flags(WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS) | Fixed;
constexpr LONG OfParameter = Flags(WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) | Fixed;
constexpr LONG OfDescription = Flags(WBEM_FLAVOR_AMENDED, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);

void AddDescription(const std::wstring& description, QualifierList& qualifiers)
{
    if (!description.empty())
    {
        qualifiers.push_back({L"Description", CIM_STRING, description, OfDescription});
    }
}

std::wstring TypeName(const Property& property)
{
    const std::wstring type = ToUtf16(DescribeCimType(property.type).name);
    return property.objectClass.empty() ? type : type + L":" + property.objectClass;
}

QualifierList HandedDown(QualifierList qualifiers, bool toInstance)
{
    if (toInstance)
    {
        std::erase_if(qualifiers,
                      [](const Qualifier& q) { return (q.flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) == 0; });
        std::ranges::for_each(qualifiers, [](Qualifier& q) { q.flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED; });
    }
    return qualifiers;
}

} // namespace

QualifierList QualifiersOf(const Object& object)
{
    QualifierList qualifiers;
    AddDescription(object.definition->description, qualifiers);
    if (object.definition->singleton)
    {
        qualifiers.push_back({L"singleton", CIM_BOOLEAN, true, OfClass});
    }
    return HandedDown(std::move(qualifiers), object.isInstance);
}

QualifierList QualifiersOf(const Object& object, const Property& property)
{
    QualifierList qualifiers;
    AddDescription(property.description, qualifiers);
    if (property.key)
    {
        qualifiers.push_back({L"key", CIM_BOOLEAN, true, ToAll | Fixed});
    }
    if (property.size)
    {
        qualifiers.push_back({L"MAX", CIM_SINT32, static_cast<std::int64_t>(*property.size), ToAll});
    }
    if (property.direction != nullptr)
    {
        qualifiers.push_back({property.direction, CIM_BOOLEAN, true, OfParameter});
    }
    if (property.parameterId)
    {
        qualifiers.push_back({L"ID", CIM_SINT32, *property.parameterId, OfParameter});
    }
    qualifiers.push_back({L"CIMTYPE", CIM_STRING, TypeName(property), ToAll});
    return HandedDown(std::move(qualifiers), object.isInstance);
}

QualifierList QualifiersOf(const Method& method)
{
    QualifierList qualifiers;
    AddDescription(method.description, qualifiers);
    if (method.isStatic)
    {
        qualifiers.push_back({L"static", CIM_BOOLEAN, true, OfClass});
    }
    return qualifiers;
}

const Qualifier* FindQualifier(const QualifierList& qualifiers, std::wstring_view name) noexcept
{
    const auto found = std::ranges::find_if(qualifiers, [&](const Qualifier& q) { return EqualNoCase(q.name, name); });
    return found == qualifiers.end() ? nullptr : &*found;
}

} // namespace Zv::Simulator
