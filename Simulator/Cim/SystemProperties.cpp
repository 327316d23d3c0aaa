#include "Simulator/Cim/SystemProperties.h"

#include "Simulator/Cim/ObjectPath.h"

#include <algorithm>

namespace Zv::Simulator
{

namespace
{

Value TextOrNull(std::wstring text)
{
    return text.empty() ? Value{} : Value{std::move(text)};
}

struct SystemProperty
{
    std::wstring_view name;
    CIMTYPE type;
    Value (*get)(const Object& object);
};

// Of event classes, as drivers' ones are derived on Windows. No other class has an ancestor here.
constexpr std::wstring_view EventAncestors[] = {L"WMIEvent", L"__ExtrinsicEvent", L"__Event", L"__IndicationRelated",
                                                L"__SystemClass"};

List Ancestors(const Object& object)
{
    List names;
    if (object.definition->event)
    {
        for (const std::wstring_view name : EventAncestors)
        {
            names.emplace_back(std::wstring{name});
        }
    }
    return names;
}

constexpr SystemProperty Properties[] = {
    {L"__GENUS", CIM_SINT32,
     [](const Object& object) -> Value {
         return std::int64_t{object.isInstance ? WBEM_GENUS_INSTANCE : WBEM_GENUS_CLASS};
     }},
    {L"__CLASS", CIM_STRING, [](const Object& object) -> Value { return object.definition->name; }},
    {L"__SUPERCLASS", CIM_STRING,
     [](const Object& object) -> Value {
         const List ancestors = Ancestors(object);
         return ancestors.empty() ? Value{} : ancestors.front();
     }},
    {L"__DYNASTY", CIM_STRING,
     [](const Object& object) -> Value {
         const List ancestors = Ancestors(object);
         return ancestors.empty() ? Value{object.definition->name} : ancestors.back();
     }},
    {L"__RELPATH", CIM_STRING, [](const Object& object) { return TextOrNull(RelativePath(object)); }},
    {L"__PROPERTY_COUNT", CIM_SINT32,
     [](const Object& object) -> Value { return static_cast<std::int64_t>(object.values.size()); }},
    {L"__DERIVATION", CIM_STRING | CIM_FLAG_ARRAY, [](const Object& object) -> Value { return Ancestors(object); }},
    {L"__SERVER", CIM_STRING, [](const Object& object) -> Value { return object.definition->server; }},
    {L"__NAMESPACE", CIM_STRING, [](const Object& object) -> Value { return object.definition->nameSpace; }},
    {L"__PATH", CIM_STRING, [](const Object& object) { return TextOrNull(FullPath(object)); }},
};

// An event happens nowhere: it has no path.
bool IsEvent(const Object& object) noexcept
{
    return object.isInstance && object.definition->event;
}

bool IsPlace(const SystemProperty& property) noexcept
{
    constexpr std::wstring_view places[] = {L"__RELPATH", L"__SERVER", L"__NAMESPACE", L"__PATH"};
    return std::ranges::find(places, property.name) != std::end(places);
}

} // namespace

bool IsSystemName(std::wstring_view name) noexcept
{
    return name.starts_with(L"__");
}

std::optional<SystemValue> FindSystemProperty(const Object& object, std::wstring_view name)
{
    const auto* const found =
        std::ranges::find_if(Properties, [&](const SystemProperty& p) { return EqualNoCase(p.name, name); });
    if (found == std::end(Properties))
    {
        return std::nullopt;
    }
    const std::vector<std::wstring_view>& hidden = object.definition->hidden;
    const bool isHidden =
        std::ranges::find(hidden, found->name) != hidden.end() || (IsEvent(object) && IsPlace(*found));
    return SystemValue{found->name, found->type, isHidden ? Value{} : found->get(object)};
}

const std::vector<std::wstring_view>& SystemPropertyNames()
{
    static const std::vector<std::wstring_view> names = [] {
        std::vector<std::wstring_view> list;
        for (const SystemProperty& property : Properties)
        {
            list.push_back(property.name);
        }
        return list;
    }();
    return names;
}

} // namespace Zv::Simulator
