#include "Services/JsonText.h"

#include "Services/CheckedCopy.h"

#include <cstddef>

namespace Zv::Tessel::Server::Services
{

namespace
{

constexpr bool Opens(wchar_t c) noexcept
{
    return (c | 0x20) == L'{'; // '[' and '{' differ in this bit, and no other character gives the same
}
static_assert(Opens(L'[') && Opens(L'{'));

bool IsNestedTooDeeply(const wchar_t* text) noexcept
{
    // Hardly any request has that many brackets at all, and counting them takes a fraction of the walk below.
    std::size_t brackets = 0;
    for (const wchar_t* c = text; *c != L'\0'; ++c)
    {
        brackets += Opens(*c) ? 1 : 0;
    }
    if (brackets <= MaxJsonDepth)
    {
        return false;
    }

    unsigned int depth = 0;
    bool inString = false;
    for (const wchar_t* c = text; *c != L'\0'; ++c)
    {
        if (inString)
        {
            if (*c == L'\\' && c[1] != L'\0')
            {
                ++c;
            }
            else if (*c == L'"')
            {
                inString = false;
            }
        }
        else if (*c == L'"')
        {
            inString = true;
        }
        else if (Opens(*c))
        {
            if (++depth > MaxJsonDepth)
            {
                return true;
            }
        }
        else if ((*c == L']' || *c == L'}') && depth > 0)
        {
            --depth;
        }
    }
    return false;
}

} // namespace

bool ParseJson(const wchar_t* text, JsonDocument& document)
{
    if (IsNestedTooDeeply(text))
    {
        document.SetNull();
        return false;
    }
    return !document.Parse(text).HasParseError();
}

void WriteJson(const JsonValue& value, JsonStringBuffer& text)
{
    ThrowingAllocator heap;
    JsonWriter writer{text, &heap};
    value.Accept(writer);
}

std::unique_ptr<wchar_t[]> ToJsonText(const JsonValue& value)
{
    JsonStringBuffer text;
    WriteJson(value, text);
    const std::size_t size = Length(text) + 1;
    auto copy = std::make_unique<wchar_t[]>(size);
    CheckedCopy(copy.get(), size, text.GetString());
    return copy;
}

} // namespace Zv::Tessel::Server::Services
