#include "Simulator/Description/JsonNode.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>

namespace Zv::Simulator
{

namespace
{

// Deep enough for any description; the tree's destructor recurses.
constexpr std::size_t MaximumDepth = 100;

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

// RapidJSON's own string stream is copied by the reader, so that a handler cannot ask it for the current offset.
class Stream
{
public:
    using Ch = char;

    explicit Stream(std::string_view text) noexcept : m_text{text} {}

    [[nodiscard]] Ch Peek() const noexcept { return m_offset < m_text.size() ? m_text[m_offset] : '\0'; }
    Ch Take() noexcept { return m_offset < m_text.size() ? m_text[m_offset++] : '\0'; }
    [[nodiscard]] std::size_t Tell() const noexcept { return m_offset; }

    // The writing half of RapidJSON's stream concept, used by in-situ parsing only.
    Ch* PutBegin() noexcept { return nullptr; }
    void Put(Ch) noexcept {}
    void Flush() noexcept {}
    std::size_t PutEnd(Ch*) noexcept { return 0; }

private:
    std::string_view m_text;
    std::size_t m_offset = 0;
};

// Turns growing byte offsets into positions.
class PositionCounter
{
public:
    explicit PositionCounter(std::string_view text) noexcept : m_text{text} {}

    Position At(std::size_t offset) noexcept
    {
        for (; m_offset < offset && m_offset < m_text.size(); ++m_offset)
        {
            const auto c = static_cast<unsigned char>(m_text[m_offset]);
            if (c == '\n')
            {
                ++m_position.line;
                m_position.column = 1;
            }
            else if ((c & 0xC0) != 0x80) // not the continuation of a character
            {
                ++m_position.column;
            }
        }
        return m_position;
    }

private:
    std::string_view m_text;
    std::size_t m_offset = 0;
    Position m_position;
};

class TreeBuilder
{
public:
    TreeBuilder(std::string_view text, const Stream& stream) noexcept
        : m_text{text},
          m_stream{stream},
          m_positions{text}
    {
    }

    JsonNode root;

    bool Null() { return Add(Node(JsonNode::Kind::Null)); }
    bool Bool(bool value)
    {
        JsonNode node = Node(JsonNode::Kind::Boolean);
        node.boolean = value;
        return Add(std::move(node));
    }
    bool Int(int value) { return Int64(value); }
    bool Uint(unsigned value) { return Int64(value); }
    bool Int64(std::int64_t value)
    {
        JsonNode node = Node(JsonNode::Kind::Integer);
        node.integer = value;
        node.unsignedInteger = value < 0 ? 0 : static_cast<std::uint64_t>(value);
        node.real = static_cast<double>(value);
        return Add(std::move(node));
    }
    bool Uint64(std::uint64_t value)
    {
        if (value <= INT64_MAX)
        {
            return Int64(static_cast<std::int64_t>(value));
        }
        JsonNode node = Node(JsonNode::Kind::Unsigned);
        node.unsignedInteger = value;
        node.real = static_cast<double>(value);
        return Add(std::move(node));
    }
    bool Double(double value)
    {
        JsonNode node = Node(JsonNode::Kind::Real);
        node.real = value;
        return Add(std::move(node));
    }
    bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; } // only called on request
    bool String(const char* text, rapidjson::SizeType length, bool)
    {
        JsonNode node = Node(JsonNode::Kind::String);
        node.text.assign(text, length);
        return Add(std::move(node));
    }
    bool StartObject() { return Open(JsonNode::Kind::Object); }
    bool Key(const char* text, rapidjson::SizeType length, bool)
    {
        const Position where = TokenStart();
        std::string key{text, length};
        std::vector<JsonMember>& members = m_open.back()->members;
        if (std::ranges::any_of(members, [&](const JsonMember& m) { return m.key == key; }) && key != "note")
        {
            throw DescriptionError{where, "expected each key once, found \"" + key + "\" again"};
        }
        members.push_back({std::move(key), where, {}});
        return true;
    }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool StartArray() { return Open(JsonNode::Kind::Array); }
    bool EndArray(rapidjson::SizeType) { return Close(); }

private:
    static JsonNode Node(JsonNode::Kind kind)
    {
        JsonNode node;
        node.kind = kind;
        return node;
    }

    // A token begins after the last one's end and what separates them. The reader calls right after it took a text or
    // a literal, but right before it takes a bracket.
    Position TokenStart()
    {
        const std::size_t start = std::min(m_text.find_first_not_of(" \t\r\n,:", m_lastEnd), m_text.size());
        m_lastEnd = std::max(m_stream.Tell(), start + 1);
        return m_positions.At(start);
    }

    JsonNode& Place(JsonNode&& node)
    {
        node.where = TokenStart();
        if (m_open.empty())
        {
            root = std::move(node);
            return root;
        }
        JsonNode& parent = *m_open.back();
        if (parent.kind == JsonNode::Kind::Object)
        {
            parent.members.back().value = std::move(node);
            return parent.members.back().value;
        }
        return parent.items.emplace_back(std::move(node));
    }

    bool Add(JsonNode&& node)
    {
        Place(std::move(node));
        return true;
    }

    bool Open(JsonNode::Kind kind)
    {
        // Only the innermost open container grows, so that the pointers to its parents stay valid.
        JsonNode& node = Place(Node(kind));
        if (m_open.size() == MaximumDepth)
        {
            throw DescriptionError{node.where,
                                   "expected at most " + std::to_string(MaximumDepth) + " levels of nesting"};
        }
        m_open.push_back(&node);
        return true;
    }

    bool Close()
    {
        TokenStart();
        m_open.pop_back();
        return true;
    }

    std::string_view m_text;
    const Stream& m_stream;
    PositionCounter m_positions;
    std::size_t m_lastEnd = 0;
    std::vector<JsonNode*> m_open;
};

// As short as it goes, but no whole number.
std::string RealText(double value)
{
    char text[32];
    const std::to_chars_result end = std::to_chars(std::begin(text), std::end(text), value);
    const std::string_view written{text, end.ptr};
    return std::string{written} + (written.find_first_of(".e") == std::string_view::npos ? ".0" : "");
}

// What probably was meant, for mistakes that people make.
std::string Hint(std::string_view text, std::size_t offset)
{
    switch (offset < text.size() ? text[offset] : '\0')
    {
    case '/':
        return " JSON has no comments: write a member \"note\".";
    case '\'':
        return " Texts stand in double quotes.";
    case '}':
    case ']':
        return " Is the comma before it one too many?";
    default:
        return {};
    }
}

} // namespace

std::string JsonNode::Describe() const
{
    switch (kind)
    {
    case Kind::Null:
        return "null";
    case Kind::Boolean:
        return boolean ? "true" : "false";
    case Kind::Integer:
        return "the number " + std::to_string(integer);
    case Kind::Unsigned:
        return "the number " + std::to_string(unsignedInteger);
    case Kind::Real:
        return "the number " + RealText(real);
    case Kind::String:
        return "\"" + text + "\"";
    case Kind::Array:
        return "a list";
    case Kind::Object:
        return "an object";
    }
    return {};
}

JsonNode ParseJson(std::string_view text)
{
    if (text.starts_with(ByteOrderMark))
    {
        text.remove_prefix(ByteOrderMark.size());
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    {
        throw DescriptionError{{}, "malformed JSON: expected UTF-8, found UTF-16"};
    }
    Stream stream{text};
    TreeBuilder builder{text, stream};
    rapidjson::Reader reader;
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    if (result.IsError())
    {
        throw DescriptionError{PositionCounter{text}.At(result.Offset()),
                               std::string{"malformed JSON: "} + rapidjson::GetParseError_En(result.Code()) +
                                   Hint(text, result.Offset())};
    }
    if (stream.Tell() != text.size())
    {
        throw DescriptionError{PositionCounter{text}.At(stream.Tell()),
                               "malformed JSON: expected the end of the text, found a zero character"};
    }
    return std::move(builder.root);
}

} // namespace Zv::Simulator
