#include "Simulator/Com/QueryRunner.h"

#include "Simulator/Cim/SystemProperties.h"
#include "Simulator/Wql/Wql.h"
#include "Simulator/Wql/WqlFilter.h"

#include <algorithm>
#include <iterator>
#include <set>

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

// What an instance says of itself only when the list of a SELECT names it. __PATH brings its parts along.
constexpr std::wstring_view SaidOnDemand[] = {L"__SUPERCLASS", L"__DYNASTY",   L"__RELPATH", L"__DERIVATION",
                                              L"__SERVER",     L"__NAMESPACE", L"__PATH"};

// A class with some of the properties of another, for SELECT with a list.
class Projection
{
public:
    // False when a column is no property of the class. With `located` instances know their path, whatever is chosen.
    bool Choose(const ClassPtr& definition, std::vector<std::wstring> columns, bool located)
    {
        if (columns.empty())
        {
            return true;
        }
        if (located)
        {
            columns.emplace_back(L"__PATH");
        }
        std::set<std::size_t> indexes;
        std::set<std::wstring_view> said;
        for (const std::wstring& column : columns)
        {
            if (const auto index = definition->FindProperty(column))
            {
                indexes.insert(*index);
                continue;
            }
            const auto system = FindSystemProperty(*MakeClassObject(definition), column);
            if (!system)
            {
                return false;
            }
            said.insert(system->name);
        }
        if (said.contains(L"__PATH"))
        {
            said.insert({L"__RELPATH", L"__SERVER", L"__NAMESPACE"});
        }
        const bool hasKey = AddKeys(*definition, said.contains(L"__RELPATH"), indexes);
        if (hasKey)
        {
            said.insert(L"__RELPATH");
        }
        auto narrow = std::make_shared<Class>(*definition);
        narrow->methods.clear();
        narrow->properties.clear();
        m_indexes.assign(indexes.begin(), indexes.end());
        for (const std::size_t index : m_indexes)
        {
            narrow->properties.push_back(definition->properties[index]);
        }
        std::ranges::copy_if(SaidOnDemand, std::back_inserter(narrow->hidden),
                             [&](std::wstring_view name) { return !said.contains(name); });
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
    // Whether the columns hold the whole key of the class, which they do when it is wanted.
    static bool AddKeys(const Class& definition, bool wanted, std::set<std::size_t>& indexes)
    {
        bool whole = definition.HasKey();
        for (std::size_t i = 0; i < definition.properties.size(); ++i)
        {
            if (definition.properties[i].key && wanted)
            {
                indexes.insert(i);
            }
            whole = whole && (!definition.properties[i].key || indexes.contains(i));
        }
        return whole;
    }

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

ResultSetPtr RunQuery(Core& core, const Namespace& nameSpace, std::wstring_view query, bool located)
{
    if (IsBeyondSimulation(query))
    {
        return Failure({}, Status(WBEM_E_PROVIDER_NOT_CAPABLE));
    }
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
    if (!filter || !projection.Choose(entry->definition, parsed->columns, located))
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

ResultSetPtr ClassesOf(const Namespace& nameSpace, std::wstring_view superclass)
{
    if (!superclass.empty()) // no class has another above it
    {
        return Failure(superclass, FindClass(nameSpace, superclass) == nullptr ? Status(WBEM_E_INVALID_CLASS) : S_OK);
    }
    auto results = std::make_shared<ResultSet>();
    for (const ClassEntry& entry : nameSpace.classes)
    {
        results->objects.push_back(MakeClassObject(entry.definition));
    }
    return results;
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
