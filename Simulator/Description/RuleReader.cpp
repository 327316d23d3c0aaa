// The part of ClassReader that reads what calls are matched with and answered with, and the instances.
#include "Platform/Windows/Utf8.h"
#include "Simulator/Description/ClassReader.h"

#include "Simulator/Cim/ObjectPath.h"

#include <set>

namespace Zv::Simulator
{

namespace
{

constexpr std::int64_t LongestDelay = 24LL * 60 * 60 * 1000;

PropertyPath Expand(const std::string& key, const std::vector<std::pair<std::string, std::wstring>>& shorthand)
{
    for (const auto& [name, path] : shorthand)
    {
        if (name == key)
        {
            return SplitPath(path);
        }
    }
    return SplitPath(ToUtf16(key));
}

} // namespace

// The property that a dotted name leads to. With `fill`, embedded objects that are still NULL on the way are made.
const Property& ClassReader::FindParameter(Position where, const std::string& written, const ClassPtr& parameters,
                                           const PropertyPath& path, Object* fill)
{
    ClassPtr at = parameters;
    PropertyPath soFar;
    for (const std::wstring& name : path)
    {
        const std::optional<std::size_t> index = at == nullptr ? std::nullopt : at->FindProperty(name);
        if (!index)
        {
            throw DescriptionError{where, "expected a parameter of the method, found \"" + written + "\""};
        }
        const Property& property = at->properties[*index];
        soFar.push_back(name);
        if (soFar.size() == path.size())
        {
            return property;
        }
        at = property.objectClass.empty() ? nullptr : Find(property.objectClass);
        if (fill != nullptr && at != nullptr && FindValue(*fill, soFar)->IsNull())
        {
            static_cast<void>(SetValue(*fill, soFar, ObjectPtr{MakeInstance(at)}));
        }
    }
    throw DescriptionError{where, "expected a dotted property name, found \"" + written + "\""};
}

Condition ClassReader::ReadCondition(const JsonMember& member, const Method& method, const Shorthand& shorthand)
{
    Condition condition;
    condition.path = Expand(member.key, shorthand);
    Property property = FindParameter(member.where, member.key, method.in, condition.path, nullptr);
    property.size.reset(); // input is compared as it is given
    const JsonNode& node = member.value;
    if (node.kind == JsonNode::Kind::Object && property.type == (CIM_UINT8 | CIM_FLAG_ARRAY))
    {
        condition.startsWith = true;
        condition.value = ReadHexadecimal(Members{node, {"startsWith"}}.Require("startsWith"));
        return condition;
    }
    condition.value = ReadValue(node, property, Finder());
    return condition;
}

Answer ClassReader::ReadAnswer(const JsonNode& node, const Method& method, const Shorthand& shorthand)
{
    const Members members{node, {"out", "status", "delayMs", "hang"}};
    Answer answer;
    if (const JsonNode* status = members.Find("status"))
    {
        answer.status = ReadStatus(*status);
    }
    if (const JsonNode* delay = members.Find("delayMs"))
    {
        answer.delay = static_cast<DWORD>(ReadInteger(*delay, "a delay in milliseconds", 0, LongestDelay));
    }
    if (const JsonNode* hang = members.Find("hang"))
    {
        answer.hang = ReadFlag(*hang, "whether the call hangs");
    }
    const JsonNode* const values = members.Find("out");
    if (method.out == nullptr)
    {
        if (values != nullptr)
        {
            Expected(*values, "no \"out\": a method that this answers has no out-parameters");
        }
        return answer;
    }
    // Embedded objects are there unless the answer says null.
    auto out = MakeInstance(method.out);
    for (std::size_t i = 0; i < out->values.size(); ++i)
    {
        const Property& property = method.out->properties[i];
        if (!property.objectClass.empty() && !property.IsArray())
        {
            out->values[i] = ObjectPtr{MakeInstance(Find(property.objectClass))};
        }
    }
    if (values != nullptr)
    {
        for (const JsonMember* member : ReadMap(*values, "an object with out-parameters"))
        {
            ReadOut(*member, method, shorthand, *out, answer);
        }
    }
    answer.out = std::move(out);
    return answer;
}

void ClassReader::ReadOut(const JsonMember& member, const Method& method, const Shorthand& shorthand, Object& out,
                          Answer& answer)
{
    const PropertyPath path = Expand(member.key, shorthand);
    const Property& property = FindParameter(member.where, member.key, method.out, path, &out);
    const JsonNode& node = member.value;
    if (node.kind == JsonNode::Kind::Object && node.members.size() == 1 && node.members.front().key == "echo")
    {
        const JsonNode& echo = node.members.front().value;
        const std::wstring from = ReadNonEmptyText(echo, "a dotted in-parameter");
        const PropertyPath source = Expand(ToUtf8(from), shorthand);
        if (FindParameter(echo.where, echo.text, method.in, source, nullptr).type != property.type)
        {
            Expected(echo, "an in-parameter of the same type");
        }
        answer.echoes.push_back({source, path});
        return;
    }
    static_cast<void>(SetValue(out, path, ReadValue(node, property, Finder())));
}

std::vector<ObjectPtr> ClassReader::ReadInstances(const Pending& pending)
{
    std::vector<ObjectPtr> instances;
    std::set<std::wstring> paths;
    const JsonNode* const list = pending.members.Find("instances");
    if (list == nullptr)
    {
        return instances;
    }
    for (const JsonNode& node : ReadList(*list, "a list of instances"))
    {
        if (pending.definition->event)
        {
            Expected(node, "no instances of an event class, which are never enumerated");
        }
        auto instance = MakeInstance(pending.definition);
        ReadValues(node, *instance, Finder());
        for (std::size_t i = 0; i < instance->values.size(); ++i)
        {
            const Property& property = pending.definition->properties[i];
            if (property.key && instance->values[i].IsNull())
            {
                Expected(node, "an instance with a value for the key property \"" + ToUtf8(property.name) + "\"");
            }
        }
        if (pending.definition->HasKey() && !paths.insert(KeyOf(*instance)).second)
        {
            Expected(node, "an instance whose key values no other instance has");
        }
        instances.push_back(std::move(instance));
    }
    // Without a key there can be only one.
    Class& definition = *pending.definition;
    definition.singleton = definition.singleton || (!definition.HasKey() && instances.size() == 1);
    return instances;
}

ClassPtr ClassReader::Find(std::wstring_view name) const
{
    for (const Pending& pending : m_classes)
    {
        if (EqualNoCase(pending.definition->name, name))
        {
            return pending.definition;
        }
    }
    return nullptr;
}

ClassFinder ClassReader::Finder() const
{
    return [this](std::wstring_view name) { return Find(name); };
}

} // namespace Zv::Simulator
