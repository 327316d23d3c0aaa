#include "Simulator/Description/NodeReader.h"

#include "Platform/Windows/Utf8.h"
#include "Simulator/Cim/StatusNames.h"

#include <algorithm>
#include <cstddef>

namespace Zv::Simulator
{

namespace
{

constexpr std::string_view Note = "note";

std::string ListOf(std::initializer_list<std::string_view> keys)
{
    std::string list;
    for (const std::string_view key : keys)
    {
        list += (list.empty() ? "\"" : ", \"") + std::string{key} + "\"";
    }
    return list;
}

int HexadecimalDigit(char c) noexcept
{
    if (c >= '0' && c <= '9')
    {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

Members::Members(const JsonNode& node, std::initializer_list<std::string_view> keys) : m_node{node}
{
    if (node.kind != JsonNode::Kind::Object)
    {
        Expected(node, "an object with " + ListOf(keys));
    }
    for (const JsonMember& member : node.members)
    {
        if (member.key != Note && std::ranges::find(keys, member.key) == keys.end())
        {
            throw DescriptionError{member.where,
                                   "expected one of the keys " + ListOf(keys) + ", found \"" + member.key + "\""};
        }
    }
}

const JsonNode* Members::Find(std::string_view key) const noexcept
{
    const auto found =
        std::ranges::find_if(m_node.members, [&](const JsonMember& member) { return member.key == key; });
    return found == m_node.members.end() ? nullptr : &found->value;
}

const JsonNode& Members::Require(std::string_view key) const
{
    const JsonNode* const found = Find(key);
    if (found == nullptr)
    {
        throw DescriptionError{m_node.where, "expected the key \"" + std::string{key} + "\" in this object"};
    }
    return *found;
}

void Expected(const JsonNode& node, const std::string& what)
{
    throw DescriptionError{node.where, "expected " + what + ", found " + node.Describe()};
}

std::wstring ReadText(const JsonNode& node, const std::string& what)
{
    if (node.kind != JsonNode::Kind::String)
    {
        Expected(node, what + " as a text");
    }
    return ToUtf16(node.text);
}

std::wstring ReadNonEmptyText(const JsonNode& node, const std::string& what)
{
    std::wstring text = ReadText(node, what);
    if (text.empty())
    {
        Expected(node, what);
    }
    return text;
}

bool ReadFlag(const JsonNode& node, const std::string& what)
{
    if (node.kind != JsonNode::Kind::Boolean)
    {
        Expected(node, what + " (true or false)");
    }
    return node.boolean;
}

std::int64_t ReadInteger(const JsonNode& node, const std::string& what, std::int64_t minimum, std::int64_t maximum)
{
    if (node.kind != JsonNode::Kind::Integer || node.integer < minimum || node.integer > maximum)
    {
        Expected(node,
                 what + " (a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum) + ")");
    }
    return node.integer;
}

HRESULT ReadStatus(const JsonNode& node)
{
    const bool isName = node.kind == JsonNode::Kind::String && !node.text.starts_with("0x");
    const std::string what = "a status such as \"" +
                             std::string{isName ? NearestStatusName(node.text) : "WBEM_E_FAILED"} +
                             "\" or \"0x80041001\"";
    if (node.kind == JsonNode::Kind::Integer)
    {
        return static_cast<HRESULT>(ReadInteger(node, what, INT32_MIN, UINT32_MAX));
    }
    if (node.kind != JsonNode::Kind::String)
    {
        Expected(node, what);
    }
    if (const std::optional<HRESULT> named = StatusByName(node.text))
    {
        return *named;
    }
    const std::string_view text = node.text;
    std::uint32_t value = 0;
    if (!text.starts_with("0x") || text.size() < 3 || text.size() > 10)
    {
        Expected(node, what);
    }
    for (const char c : text.substr(2))
    {
        const int digit = HexadecimalDigit(c);
        if (digit < 0)
        {
            Expected(node, what);
        }
        value = value << 4 | static_cast<std::uint32_t>(digit);
    }
    return static_cast<HRESULT>(value);
}

std::vector<std::uint8_t> ReadHexadecimal(const JsonNode& node)
{
    const std::string what = "bytes as pairs of hexadecimal digits, such as \"53 45\"";
    if (node.kind != JsonNode::Kind::String)
    {
        Expected(node, what);
    }
    std::vector<std::uint8_t> bytes;
    int high = -1;
    for (const char c : node.text)
    {
        if (c == ' ' && high < 0)
        {
            continue;
        }
        const int digit = HexadecimalDigit(c);
        if (digit < 0)
        {
            Expected(node, what);
        }
        if (high < 0)
        {
            high = digit;
            continue;
        }
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
        high = -1;
    }
    if (high >= 0)
    {
        Expected(node, what);
    }
    return bytes;
}

std::span<const JsonNode> ReadList(const JsonNode& node, const std::string& what)
{
    if (node.kind != JsonNode::Kind::Array)
    {
        Expected(node, what);
    }
    return node.items;
}

std::vector<const JsonMember*> ReadMap(const JsonNode& node, const std::string& what)
{
    if (node.kind != JsonNode::Kind::Object)
    {
        Expected(node, what);
    }
    std::vector<const JsonMember*> members;
    for (const JsonMember& member : node.members)
    {
        if (member.key != Note)
        {
            members.push_back(&member);
        }
    }
    return members;
}

} // namespace Zv::Simulator
