#include "Simulator/Cim/CimModel.h"

#include <algorithm>
#include <cstddef>

namespace Zv::Simulator
{

namespace
{

constexpr wchar_t LowerAscii(wchar_t c) noexcept
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
}

} // namespace

std::optional<std::size_t> Class::FindProperty(std::wstring_view property) const noexcept
{
    for (std::size_t i = 0; i < properties.size(); ++i)
    {
        if (EqualNoCase(properties[i].name, property))
        {
            return i;
        }
    }
    return std::nullopt;
}

const Method* Class::FindMethod(std::wstring_view method) const noexcept
{
    const auto found = std::ranges::find_if(methods, [&](const Method& m) { return EqualNoCase(m.name, method); });
    return found == methods.end() ? nullptr : &*found;
}

bool Class::HasKey() const noexcept
{
    return std::ranges::any_of(properties, [](const Property& p) { return p.key; });
}

bool EqualNoCase(std::wstring_view a, std::wstring_view b) noexcept
{
    return a.size() == b.size() && CompareNoCase(a, b) == 0;
}

int CompareNoCase(std::wstring_view a, std::wstring_view b) noexcept
{
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i)
    {
        if (a[i] > 0x7F || b[i] > 0x7F)
        {
            return CompareStringOrdinal(a.data() + i, static_cast<int>(a.size() - i), b.data() + i,
                                        static_cast<int>(b.size() - i), TRUE) -
                   CSTR_EQUAL;
        }
        if (const int difference = LowerAscii(a[i]) - LowerAscii(b[i]))
        {
            return difference;
        }
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

ObjectPtr MakeClassObject(const ClassPtr& definition)
{
    auto object = MakeInstance(definition);
    object->isInstance = false;
    return object;
}

std::shared_ptr<Object> MakeInstance(const ClassPtr& definition)
{
    auto object = std::make_shared<Object>();
    object->definition = definition;
    object->isInstance = true;
    object->values.reserve(definition->properties.size());
    for (const Property& property : definition->properties)
    {
        object->values.push_back(property.initial);
    }
    return object;
}

const Value* FindValue(const Object& object, const PropertyPath& path) noexcept
{
    const Object* at = &object;
    for (std::size_t i = 0; at != nullptr && i < path.size(); ++i)
    {
        const std::optional<std::size_t> index = at->definition->FindProperty(path[i]);
        if (!index)
        {
            return nullptr;
        }
        const Value& value = at->values[*index];
        if (i + 1 == path.size())
        {
            return &value;
        }
        const auto* const embedded = value.As<ObjectPtr>();
        at = embedded == nullptr ? nullptr : embedded->get();
    }
    return nullptr;
}

bool SetValue(Object& object, const PropertyPath& path, Value value, std::size_t depth)
{
    const std::optional<std::size_t> index = object.definition->FindProperty(path[depth]);
    if (!index)
    {
        return false;
    }
    Value& slot = object.values[*index];
    if (depth + 1 == path.size())
    {
        slot = std::move(value);
        return true;
    }
    const auto* const embedded = slot.As<ObjectPtr>();
    if (embedded == nullptr || *embedded == nullptr)
    {
        return false;
    }
    auto copy = std::make_shared<Object>(**embedded);
    if (!SetValue(*copy, path, std::move(value), depth + 1))
    {
        return false;
    }
    slot = ObjectPtr{std::move(copy)};
    return true;
}

PropertyPath SplitPath(std::wstring_view path)
{
    PropertyPath names;
    for (std::size_t begin = 0;;)
    {
        const std::size_t end = path.find(L'.', begin);
        names.emplace_back(path.substr(begin, end == std::wstring_view::npos ? end : end - begin));
        if (end == std::wstring_view::npos)
        {
            return names;
        }
        begin = end + 1;
    }
}

} // namespace Zv::Simulator
