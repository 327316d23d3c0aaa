// From JSON text to documents and back.
#pragma once

#include "Shared/Json/JsonDocument.h"

#include <cstddef>
#include <memory>

namespace Zv::Tessel::Server::Services
{

// Text nested deeper than this counts as malformed. RapidJSON's parser and writer recurse once a level: without a
// bound, a client's request could overflow the stack of the host's thread.
inline constexpr unsigned int MaxJsonDepth = 1000;

// Parses zero-terminated text. On failure returns false and leaves the document null.
// Throws std::bad_alloc.
[[nodiscard]] bool ParseJson(const wchar_t* text, JsonDocument& document);

// Writes a value compactly. Throws std::bad_alloc.
void WriteJson(const JsonValue& value, JsonStringBuffer& text);

// Length of the text in characters.
[[nodiscard]] inline std::size_t Length(const JsonStringBuffer& text) noexcept
{
    return text.GetSize() / sizeof(wchar_t); // RapidJSON counts bytes
}

// The value's compact text in a buffer of its own. Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<wchar_t[]> ToJsonText(const JsonValue& value);

} // namespace Zv::Tessel::Server::Services
