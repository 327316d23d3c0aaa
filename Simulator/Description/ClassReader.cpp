#include "Simulator/Description/ClassReader.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Cim/StatusNames.h"

#include <algorithm>

namespace Zv::Simulator
{

namespace
{

constexpr std::int64_t MaximumSize = std::int64_t{16} * 1024 * 1024;
constexpr const wchar_t* ParametersClass = L"__PARAMETERS";

// What the qualifier Description says; empty unless given.
std::wstring ReadDescriptionText(const Members& members)
{
    const JsonNode* const node = members.Find("description");
    return node == nullptr ? std::wstring{} : ReadText(*node, "a description");
}

} // namespace

ClassReader::ClassReader(std::wstring server, std::wstring nameSpace, bool hasSettings,
                         std::vector<unsigned>& ruleLimits)
    : m_server{std::move(server)},
      m_nameSpace{std::move(nameSpace)},
      m_hasSettings{hasSettings},
      m_ruleLimits{ruleLimits}
{
}

std::vector<ClassEntry> ClassReader::Read(const JsonNode& classes)
{
    for (const JsonNode& node : ReadList(classes, "a list of classes"))
    {
        Declare(node);
    }
    for (const auto& [node, name] : m_usedClasses)
    {
        if (Find(name) == nullptr)
        {
            Expected(*node, "a type that names a class of this namespace");
        }
    }
    for (const Pending& pending : m_classes)
    {
        ReadMethods(pending);
    }
    std::vector<ClassEntry> entries;
    entries.reserve(m_classes.size());
    for (const Pending& pending : m_classes)
    {
        entries.push_back({pending.definition, ReadInstances(pending)});
    }
    return entries;
}

void ClassReader::Declare(const JsonNode& node)
{
    const Members members{node,
                          {"name", "description", "event", "singleton", "properties", "methods", "shorthand", "rules",
                           "otherwise", "instances"}};
    auto definition = std::make_shared<Class>();
    const JsonNode& name = members.Require("name");
    definition->name = ReadNonEmptyText(name, "a class name");
    if (Find(definition->name) != nullptr)
    {
        Expected(name, "a class name that this namespace does not have yet");
    }
    definition->server = m_server;
    definition->nameSpace = m_nameSpace;
    if (const JsonNode* event = members.Find("event"))
    {
        definition->event = ReadFlag(*event, "whether the class is an event class");
    }
    definition->description = ReadDescriptionText(members);
    if (const JsonNode* properties = members.Find("properties"))
    {
        definition->properties = ReadProperties(*properties);
    }
    if (const JsonNode* singleton = members.Find("singleton"))
    {
        definition->singleton = ReadFlag(*singleton, "whether the class has one instance, without a key");
        if (definition->singleton && definition->HasKey())
        {
            Expected(*singleton, "no \"singleton\": the class has key properties");
        }
    }
    m_classes.push_back({members, std::move(definition)});
}

std::vector<Property> ClassReader::ReadProperties(const JsonNode& node)
{
    std::vector<Property> properties;
    for (const JsonMember* member : ReadMap(node, "an object with one member per property"))
    {
        Property property = ReadProperty(*member);
        if (std::ranges::any_of(properties, [&](const Property& p) { return EqualNoCase(p.name, property.name); }))
        {
            throw DescriptionError{member->where, "expected each property once, found \"" + member->key + "\" again"};
        }
        properties.push_back(std::move(property));
    }
    return properties;
}

Property ClassReader::ReadProperty(const JsonMember& member)
{
    Property property;
    property.name = ToUtf16(member.key);
    if (member.value.kind != JsonNode::Kind::Object)
    {
        ReadType(member.value, property);
        return property;
    }
    const Members members{member.value, {"type", "description", "key", "size", "value"}};
    ReadType(members.Require("type"), property);
    property.description = ReadDescriptionText(members);
    if (const JsonNode* key = members.Find("key"))
    {
        property.key = ReadFlag(*key, "whether the property is a key");
    }
    if (const JsonNode* size = members.Find("size"))
    {
        if (property.type != (CIM_UINT8 | CIM_FLAG_ARRAY))
        {
            Expected(*size, "no \"size\" unless the type is uint8[]");
        }
        property.size = static_cast<std::size_t>(ReadInteger(*size, "a number of bytes", 0, MaximumSize));
        property.initial = Bytes(*property.size);
    }
    if (const JsonNode* value = members.Find("value"))
    {
        if (property.ElementType() == CIM_OBJECT && value->kind != JsonNode::Kind::Null)
        {
            Expected(*value, "null, the only initial value of an object property");
        }
        property.initial = ReadValue(*value, property, Finder());
    }
    return property;
}

// uint32, uint8[], object:zvqBDataIn, object:Part[].
void ClassReader::ReadType(const JsonNode& node, Property& property)
{
    const std::string what =
        "a CIM type (" + CimTypeList() + "; object:Class for one class only; [] after it for an array)";
    static_cast<void>(ReadText(node, what)); // a text at all
    std::string text = node.text;
    const bool array = text.ends_with("[]");
    text.resize(text.size() - (array ? 2 : 0));
    if (text.starts_with("object:") && text.size() > 7)
    {
        property.objectClass = ToUtf16(std::string_view{text}.substr(7));
        m_usedClasses.emplace_back(&node, property.objectClass);
        text.resize(6);
    }
    const CimTypeName* const type = FindCimType(text);
    if (type == nullptr)
    {
        Expected(node, what);
    }
    property.type = type->type | (array ? CIM_FLAG_ARRAY : 0);
}

void ClassReader::ReadMethods(const Pending& pending)
{
    Class& definition = *pending.definition;
    if (const JsonNode* methods = pending.members.Find("methods"))
    {
        for (const JsonMember* member : ReadMap(*methods, "an object with one member per method"))
        {
            if (definition.FindMethod(ToUtf16(member->key)) != nullptr)
            {
                throw DescriptionError{member->where, "expected each method once, found \"" + member->key + "\" again"};
            }
            definition.methods.push_back(ReadMethod(*member));
        }
    }
    Shorthand shorthand;
    if (const JsonNode* node = pending.members.Find("shorthand"))
    {
        for (const JsonMember* member : ReadMap(*node, "an object with one member per short name"))
        {
            std::wstring path = ReadNonEmptyText(member->value, "a dotted property name");
            if (std::ranges::none_of(definition.methods, [parameter = SplitPath(path).front()](const Method& method) {
                    return (method.in != nullptr && method.in->FindProperty(parameter)) ||
                           (method.out != nullptr && method.out->FindProperty(parameter));
                }))
            {
                Expected(member->value, "a parameter of a method, or a property in one");
            }
            shorthand.emplace_back(member->key, std::move(path));
        }
    }
    ReadRules(pending, shorthand);
}

Method ClassReader::ReadMethod(const JsonMember& member)
{
    const Members members{member.value, {"description", "static", "in", "out", "does"}};
    Method method;
    method.name = ToUtf16(member.key);
    method.description = ReadDescriptionText(members);
    if (const JsonNode* isStatic = members.Find("static"))
    {
        method.isStatic = ReadFlag(*isStatic, "whether the method is called on the class");
    }
    std::int64_t count = 0;
    method.in = ReadParameters(members.Find("in"), L"in", count);
    method.out = ReadParameters(members.Find("out"), L"out", count);
    method.otherwise.status = Status(WBEM_E_METHOD_NOT_IMPLEMENTED);
    if (const JsonNode* does = members.Find("does"))
    {
        method.act = ReadAct(*does, method);
    }
    return method;
}

// The built-in actions work on the section "settings" and on parameters of fixed names.
Method::Act ClassReader::ReadAct(const JsonNode& node, const Method& method) const
{
    const bool set = node.kind == JsonNode::Kind::String && node.text == "setSetting";
    if (!set && (node.kind != JsonNode::Kind::String || node.text != "restoreDefaults"))
    {
        Expected(node, R"("setSetting" or "restoreDefaults")");
    }
    if (!m_hasSettings)
    {
        Expected(node, "a section \"settings\" for what the method does");
    }
    const auto require = [&](const ClassPtr& parameters, const wchar_t* name, bool text) {
        const auto index = parameters == nullptr ? std::nullopt : parameters->FindProperty(name);
        const CIMTYPE type = index ? parameters->properties[*index].type : 0;
        if (!index || (text ? type != CIM_STRING : !IsIntegerType(type) || (type & CIM_FLAG_ARRAY) != 0))
        {
            Expected(node, std::string{"the parameter \""} + ToUtf8(name) + "\" of type " +
                               (text ? "string" : "uint32") + " for what the method does");
        }
    };
    require(method.in, L"Password", true);
    if (set)
    {
        require(method.in, L"Name", true);
        require(method.in, L"Value", true);
    }
    require(method.out, L"Return", false);
    return set ? Method::Act::SetSetting : Method::Act::RestoreDefaults;
}

ClassPtr ClassReader::ReadParameters(const JsonNode* node, const wchar_t* direction, std::int64_t& count)
{
    if (node == nullptr)
    {
        return nullptr;
    }
    auto parameters = std::make_shared<Class>();
    parameters->name = ParametersClass;
    parameters->server = m_server;
    parameters->nameSpace = m_nameSpace;
    const std::size_t before = m_usedClasses.size();
    parameters->properties = ReadProperties(*node);
    for (Property& parameter : parameters->properties)
    {
        parameter.direction = direction;
        if (!EqualNoCase(parameter.name, L"ReturnValue"))
        {
            parameter.parameterId = count++;
        }
    }
    for (std::size_t i = before; i < m_usedClasses.size(); ++i)
    {
        if (Find(m_usedClasses[i].second) == nullptr)
        {
            Expected(*m_usedClasses[i].first, "a type that names a class of this namespace");
        }
    }
    return parameters;
}

void ClassReader::ReadRules(const Pending& pending, const Shorthand& shorthand)
{
    if (const JsonNode* rules = pending.members.Find("rules"))
    {
        for (const JsonNode& rule : ReadList(*rules, "a list of rules"))
        {
            ReadRule(rule, *pending.definition, shorthand);
        }
    }
    if (const JsonNode* otherwise = pending.members.Find("otherwise"))
    {
        for (Method& method : pending.definition->methods)
        {
            method.otherwise = ReadAnswer(*otherwise, method, shorthand);
        }
    }
}

void ClassReader::ReadRule(const JsonNode& node, Class& definition, const Shorthand& shorthand)
{
    const Members members{node, {"methods", "when", "answer", "times"}};
    const JsonNode* const times = members.Find("times");
    const std::size_t id = m_ruleLimits.size();
    m_ruleLimits.push_back(
        times == nullptr ? 0 : static_cast<unsigned>(ReadInteger(*times, "how many times", 1, INT32_MAX)));

    std::vector<Method*> methods;
    if (const JsonNode* names = members.Find("methods"))
    {
        for (const JsonNode& name : ReadList(*names, "a list of method names"))
        {
            const Method* const found = definition.FindMethod(ReadText(name, "a method name"));
            if (found == nullptr)
            {
                Expected(name, "a method of class \"" + ToUtf8(definition.name) + "\"");
            }
            methods.push_back(&definition.methods[static_cast<std::size_t>(found - definition.methods.data())]);
        }
    }
    else
    {
        for (Method& method : definition.methods)
        {
            methods.push_back(&method);
        }
    }

    if (methods.empty())
    {
        Expected(node, "a rule for a method of class \"" + ToUtf8(definition.name) + "\"");
    }

    for (Method* method : methods)
    {
        Rule rule;
        rule.id = id;
        if (const JsonNode* when = members.Find("when"))
        {
            for (const JsonMember* member : ReadMap(*when, "an object with in-parameters"))
            {
                rule.when.push_back(ReadCondition(*member, *method, shorthand));
            }
        }
        rule.answer = ReadAnswer(members.Require("answer"), *method, shorthand);
        method->rules.push_back(std::move(rule));
    }
}

} // namespace Zv::Simulator
