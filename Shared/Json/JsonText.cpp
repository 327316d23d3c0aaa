#include "Shared/Json/JsonText.h"

#include "Platform/Windows/CheckedCopy.h"
#include "Shared/Json/TextScan.h"

#include <rapidjson/reader.h>

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <limits>

namespace Zv::Tessel::Server::Services
{

// Refuses the escape of a low surrogate without its high one, as releases of RapidJSON after 1.1.0 do: 1.1.0 would
// write the half pair into the document. Called by the parser for each escaped code point.
struct WholePairs : JsonEncoding
{
    template <class Stream>
    static void Encode(Stream& stream, unsigned int codePoint)
    {
        if (codePoint >= 0xDC00 && codePoint <= 0xDFFF)
        {
            *stream.src_ = L'\0'; // the parser finds the text at its end, within a string
            return;
        }
        JsonEncoding::Encode(stream, codePoint);
    }
};

using JsonReader = rapidjson::GenericReader<WholePairs, JsonEncoding, ThrowingAllocator>;
using JsonSource = rapidjson::GenericInsituStringStream<WholePairs>;

} // namespace Zv::Tessel::Server::Services

// RapidJSON's places for what stands in a string as it is, which it serves for 8-bit text only.
namespace rapidjson
{

// The parser: source and target are one stream, which the text moves down once it has left out an escape.
template <>
template <>
inline void Zv::Tessel::Server::Services::JsonReader::ScanCopyUnescapedString(
    Zv::Tessel::Server::Services::JsonSource& stream, Zv::Tessel::Server::Services::JsonSource& /*stream*/)
{
    const std::size_t length =
        Zv::Tessel::Server::Services::PlainLength(stream.src_, std::numeric_limits<std::size_t>::max());
    if (stream.src_ != stream.dst_)
    {
        std::wmemmove(stream.dst_, stream.src_, length);
    }
    stream.src_ += length;
    stream.dst_ += length;
}

// The writer: whether there is more to write. It has reserved room for all of it.
template <>
inline bool Zv::Tessel::Server::Services::JsonWriter::ScanWriteUnescapedString(
    GenericStringStream<Zv::Tessel::Server::Services::JsonEncoding>& source, std::size_t length)
{
    const std::size_t plain = Zv::Tessel::Server::Services::PlainLength(source.src_, length - source.Tell());
    std::wmemcpy(os_->PushUnsafe(plain), source.src_, plain);
    source.src_ += plain;
    return source.Tell() < length;
}

} // namespace rapidjson

namespace Zv::Tessel::Server::Services
{

namespace
{

using Size = rapidjson::SizeType;

// What builds a document while its text is parsed: passes everything on to the document, and ends the parse where the
// text is nested too deeply.
class BoundedBuilder
{
public:
    explicit BoundedBuilder(JsonDocument& document) noexcept : m_document{document} {}

    bool Null() { return m_document.Null(); }
    bool Bool(bool value) { return m_document.Bool(value); }
    bool Int(int value) { return m_document.Int(value); }
    bool Uint(unsigned int value) { return m_document.Uint(value); }
    bool Int64(std::int64_t value) { return m_document.Int64(value); }
    bool Uint64(std::uint64_t value) { return m_document.Uint64(value); }
    bool Double(double value) { return m_document.Double(value); }
    bool RawNumber(const wchar_t* text, Size length, bool copy) { return m_document.RawNumber(text, length, copy); }
    bool String(const wchar_t* text, Size length, bool copy) { return m_document.String(text, length, copy); }
    bool Key(const wchar_t* text, Size length, bool copy) { return m_document.Key(text, length, copy); }
    bool StartObject() { return Enter() && m_document.StartObject(); }
    bool EndObject(Size count) { return Leave() && m_document.EndObject(count); }
    bool StartArray() { return Enter() && m_document.StartArray(); }
    bool EndArray(Size count) { return Leave() && m_document.EndArray(count); }

private:
    bool Enter() noexcept { return ++m_depth <= MaxJsonDepth; }
    bool Leave() noexcept
    {
        --m_depth;
        return true;
    }

    JsonDocument& m_document;
    unsigned int m_depth = 0;
};

} // namespace

bool ParseJson(const wchar_t* text, JsonDocument& document)
{
    // Parsed in place, in a copy that belongs to the document: its texts stay where they are, and the parser needs no
    // memory to put them together.
    const std::size_t size = std::wcslen(text) + 1;
    auto* const copy = static_cast<wchar_t*>(document.GetAllocator().Malloc(size * sizeof(wchar_t)));
    std::wmemcpy(copy, text, size);

    ThrowingAllocator heap;
    JsonReader reader{&heap};
    bool parsed = false;
    const auto parse = [&](JsonDocument& target) {
        JsonSource stream{copy};
        BoundedBuilder builder{target};
        parsed = !reader.Parse<rapidjson::kParseInsituFlag>(stream, builder).IsError();
        return parsed;
    };
    document.Populate(parse);
    return parsed;
}

void WriteJson(const JsonValue& value, JsonStringBuffer& text)
{
    // What the writer keeps of each level lies on the thread's stack, as long as the levels are few.
    alignas(std::max_align_t) std::byte first[1024];
    ThrowingAllocator heap;
    JsonAllocator levels{first, sizeof first, JsonChunkSize, &heap};
    JsonWriter writer{text, &levels};
    value.Accept(writer);
}

std::unique_ptr<wchar_t[]> ToJsonText(const JsonValue& value)
{
    JsonStringBuffer text;
    WriteJson(value, text);
    const std::size_t size = Length(text) + 1;
    auto copy = std::make_unique<wchar_t[]>(size);
    Shared::CheckedCopy(copy.get(), size, text.GetString());
    return copy;
}

} // namespace Zv::Tessel::Server::Services
