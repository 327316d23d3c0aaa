#include "Simulator/Description/ValueReader.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Description/NodeReader.h"

#include <cstddef>
#include <utility>

namespace Zv::Simulator
{

namespace
{

constexpr std::int64_t MaximumArrayLength = std::int64_t{16} * 1024 * 1024;

[[noreturn]] void ExpectedType(const JsonNode& node, const Property& property)
{
    std::string what = "a value of type " + std::string{DescribeCimType(property.type).name};
    if (property.ElementType() == CIM_CHAR16)
    {
        what += " (a text of one character, or a whole number from 0 to 65535)";
    }
    else if (IsIntegerType(property.type))
    {
        const IntegerRange range = RangeOf(property.type);
        what += " (a whole number from " + std::to_string(range.minimum) + " to " +
                (property.ElementType() == CIM_UINT64 ? std::to_string(UINT64_MAX) : std::to_string(range.maximum)) +
                ")";
    }
    Expected(node, what + " for \"" + ToUtf8(property.name) + "\"");
}

Value ReadIntegerValue(const JsonNode& node, const Property& property)
{
    if (node.kind == JsonNode::Kind::Unsigned && property.ElementType() == CIM_UINT64)
    {
        return static_cast<std::int64_t>(node.unsignedInteger);
    }
    const IntegerRange range = RangeOf(property.type);
    if (node.kind != JsonNode::Kind::Integer || node.integer < range.minimum || node.integer > range.maximum)
    {
        ExpectedType(node, property);
    }
    return node.integer;
}

Value ReadObjectValue(const JsonNode& node, const Property& property, const ClassFinder& findClass)
{
    constexpr std::string_view ClassKey = "__CLASS";
    std::wstring className = property.objectClass;
    if (node.kind != JsonNode::Kind::Object)
    {
        ExpectedType(node, property);
    }
    JsonNode rest;
    rest.kind = JsonNode::Kind::Object;
    rest.where = node.where;
    for (const JsonMember& member : node.members)
    {
        if (member.key != ClassKey)
        {
            rest.members.push_back(member);
            continue;
        }
        const std::wstring named = ReadNonEmptyText(member.value, "a class name");
        if (!className.empty() && !EqualNoCase(named, className))
        {
            Expected(member.value, "the class \"" + ToUtf8(className) + "\"");
        }
        className = named;
    }
    if (className.empty())
    {
        Expected(node, "an object with the key \"__CLASS\"");
    }
    const ClassPtr definition = findClass(className);
    if (definition == nullptr)
    {
        Expected(node, "an object of a class of this namespace (there is no \"" + ToUtf8(className) + "\")");
    }
    auto object = MakeInstance(definition);
    ReadValues(rest, *object, findClass);
    return ObjectPtr{std::move(object)};
}

Value ReadScalar(const JsonNode& node, const Property& property, const ClassFinder& findClass)
{
    if (property.ElementType() == CIM_CHAR16 && node.kind == JsonNode::Kind::String)
    {
        const std::wstring text = ToUtf16(node.text);
        if (text.size() != 1)
        {
            ExpectedType(node, property);
        }
        return std::int64_t{text.front()};
    }
    if (IsIntegerType(property.type))
    {
        return ReadIntegerValue(node, property);
    }
    if (IsRealType(property.type))
    {
        if (node.kind != JsonNode::Kind::Real && node.kind != JsonNode::Kind::Integer)
        {
            ExpectedType(node, property);
        }
        return node.real;
    }
    if (IsTextType(property.type))
    {
        if (node.kind != JsonNode::Kind::String)
        {
            ExpectedType(node, property);
        }
        return ToUtf16(node.text);
    }
    if (property.ElementType() == CIM_BOOLEAN)
    {
        if (node.kind != JsonNode::Kind::Boolean)
        {
            ExpectedType(node, property);
        }
        return node.boolean;
    }
    return ReadObjectValue(node, property, findClass);
}

// "53 45", {"bytes": "53 45", "length": 128} or [83, 69]. A plain text is filled up to the property's size; the other
// two are taken exactly, for machines that return the wrong size.
Value ReadBytes(const JsonNode& node, const Property& property)
{
    if (node.kind == JsonNode::Kind::String)
    {
        Bytes bytes = ReadHexadecimal(node);
        if (property.size)
        {
            if (bytes.size() > *property.size)
            {
                Expected(node, "at most " + std::to_string(*property.size) + " bytes for \"" + ToUtf8(property.name) +
                                   "\", or \"bytes\" and \"length\"");
            }
            bytes.resize(*property.size);
        }
        return bytes;
    }
    if (node.kind == JsonNode::Kind::Object)
    {
        const Members members{node, {"bytes", "length"}};
        Bytes bytes = ReadHexadecimal(members.Require("bytes"));
        bytes.resize(static_cast<std::size_t>(
            ReadInteger(members.Require("length"), "a number of bytes", 0, MaximumArrayLength)));
        return bytes;
    }
    Bytes bytes;
    for (const JsonNode& item : ReadList(node, "bytes (hexadecimal text, a list of numbers, or \"bytes\" and "
                                               "\"length\") for \"" +
                                                   ToUtf8(property.name) + "\""))
    {
        bytes.push_back(static_cast<std::uint8_t>(ReadInteger(item, "a byte", 0, UINT8_MAX)));
    }
    return bytes;
}

} // namespace

Value ReadValue(const JsonNode& node, const Property& property, const ClassFinder& findClass)
{
    if (node.kind == JsonNode::Kind::Null)
    {
        return {};
    }
    if (!property.IsArray())
    {
        return ReadScalar(node, property, findClass);
    }
    if (property.ElementType() == CIM_UINT8)
    {
        return ReadBytes(node, property);
    }
    List list;
    for (const JsonNode& item : ReadList(node, "a list of " + std::string{DescribeCimType(property.type).name} +
                                                   " for \"" + ToUtf8(property.name) + "\""))
    {
        list.push_back(ReadScalar(item, property, findClass));
    }
    return list;
}

void ReadValues(const JsonNode& node, Object& object, const ClassFinder& findClass)
{
    const Class& definition = *object.definition;
    for (const JsonMember* member : ReadMap(node, "an object with property values"))
    {
        const std::optional<std::size_t> index = definition.FindProperty(ToUtf16(member->key));
        if (!index)
        {
            throw DescriptionError{member->where, "expected a property of class \"" + ToUtf8(definition.name) +
                                                      "\", found \"" + member->key + "\""};
        }
        object.values[*index] = ReadValue(member->value, definition.properties[*index], findClass);
    }
}

} // namespace Zv::Simulator
