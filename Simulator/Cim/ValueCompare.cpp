#include "Simulator/Cim/ValueCompare.h"

#include <algorithm>

namespace Zv::Simulator
{

bool SameValue(const Value& a, const Value& b)
{
    if (a.index() != b.index())
    {
        return false;
    }
    if (const ObjectPtr* const object = a.As<ObjectPtr>())
    {
        return SameObject(**object, **b.As<ObjectPtr>());
    }
    if (const List* const list = a.As<List>())
    {
        const List& other = *b.As<List>();
        return std::equal(list->begin(), list->end(), other.begin(), other.end(), SameValue);
    }
    if (const double* const real = a.As<double>())
    {
        return !(*real < *b.As<double>()) && !(*b.As<double>() < *real);
    }
    return (a.IsNull()) || (a.As<bool>() && *a.As<bool>() == *b.As<bool>()) ||
           (a.As<std::int64_t>() && *a.As<std::int64_t>() == *b.As<std::int64_t>()) ||
           (a.As<std::wstring>() && *a.As<std::wstring>() == *b.As<std::wstring>()) ||
           (a.As<Bytes>() && *a.As<Bytes>() == *b.As<Bytes>());
}

bool SameObject(const Object& a, const Object& b)
{
    return a.isInstance == b.isInstance && EqualNoCase(a.definition->name, b.definition->name) &&
           std::equal(a.values.begin(), a.values.end(), b.values.begin(), b.values.end(), SameValue);
}

} // namespace Zv::Simulator
