#include "Simulator/Com/QueryRunner.h"

#include "Simulator/Cim/SystemProperties.h"
#include "Simulator/Wql/Wql.h"
#include "Simulator/Wql/WqlFilter.h"

#include <algorithm>

namespace Zv::Simulator
{

namespace
{

ResultSetPtr Failure(std::wstring_view className, HRESULT status)
{
    auto result = std::make_shared<ResultSet>();
    result->className = className;
    result->status = status;
    return result;
}

// A class with some of the properties of another, for SELECT with a list.
class Projection
{
public:
    // False when a column is no property of the class.
    bool Choose(const ClassPtr& definition, const std::vector<std::wstring>& columns)
    {
        if (columns.empty())
        {
            return true;
        }
        for (const std::wstring& column : columns)
        {
            const auto index = definition->FindProperty(column);
            if (index && std::ranges::find(m_indexes, *index) == m_indexes.end())
            {
                m_indexes.push_back(*index);
            }
            // System properties are always there and need not be chosen.
            if (!index && !FindSystemProperty(*MakeClassObject(definition), column))
            {
                return false;
            }
        }
        std::sort(m_indexes.begin(), m_indexes.end());
        auto narrow = std::make_shared<Class>();
        narrow->name = definition->name;
        narrow->server = definition->server;
        narrow->nameSpace = definition->nameSpace;
        for (const std::size_t index : m_indexes)
        {
            narrow->properties.push_back(definition->properties[index]);
        }
        const auto keys = [](const Class& c) {
            return std::ranges::count_if(c.properties, [](const Property& p) { return p.key; });
        };
        if (keys(*narrow) != keys(*definition)) // without all of its key an instance has no path
        {
            for (Property& property : narrow->properties)
            {
                property.key = false;
            }
        }
        m_narrow = std::move(narrow);
        return true;
    }

    [[nodiscard]] ObjectPtr Apply(const ObjectPtr& instance) const
    {
        if (m_narrow == nullptr)
        {
            return instance;
        }
        auto narrow = std::make_shared<Object>();
        narrow->definition = m_narrow;
        narrow->isInstance = true;
        for (const std::size_t index : m_indexes)
        {
            narrow->values.push_back(instance->values[index]);
        }
        return narrow;
    }

private:
    std::vector<std::size_t> m_indexes;
    ClassPtr m_narrow; // null: everything
};

} // namespace

const ClassEntry* FindClass(const Namespace& nameSpace, std::wstring_view name) noexcept
{
    const auto found = std::ranges::find_if(
        nameSpace.classes, [&](const ClassEntry& entry) { return EqualNoCase(entry.definition->name, name); });
    return found == nameSpace.classes.end() ? nullptr : &*found;
}

ResultSetPtr RunQuery(Core& core, const Namespace& nameSpace, std::wstring_view query)
{
    const std::optional<WqlQuery> parsed = ParseWql(query);
    if (!parsed || parsed->within)
    {
        return Failure({}, Status(WBEM_E_INVALID_QUERY));
    }
    const ClassEntry* const entry = FindClass(nameSpace, parsed->className);
    if (entry == nullptr)
    {
        return Failure(parsed->className, Status(WBEM_E_INVALID_CLASS));
    }
    const std::optional<WqlFilter> filter =
        WqlFilter::Make(parsed->where ? &*parsed->where : nullptr, entry->definition);
    Projection projection;
    if (!filter || !projection.Choose(entry->definition, parsed->columns))
    {
        return Failure(parsed->className, Status(WBEM_E_INVALID_QUERY));
    }
    auto result = std::make_shared<ResultSet>();
    result->className = entry->definition->name;
    for (const ObjectPtr& instance : core.state.Instances(*entry->definition))
    {
        if (filter->Accepts(*instance))
        {
            result->objects.push_back(projection.Apply(instance));
        }
    }
    return result;
}

ResultSetPtr InstancesOf(Core& core, const Namespace& nameSpace, std::wstring_view className)
{
    const ClassEntry* const entry = FindClass(nameSpace, className);
    if (entry == nullptr)
    {
        return Failure(className, Status(WBEM_E_INVALID_CLASS));
    }
    auto result = std::make_shared<ResultSet>();
    result->className = entry->definition->name;
    result->objects = core.state.Instances(*entry->definition);
    return result;
}

} // namespace Zv::Simulator
