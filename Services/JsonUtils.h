// Typed access to the members of a request document.
#pragma once

#include "Shared/Json/JsonDocument.h"

#include <cstdint>

namespace Zv::Tessel::Server::Services
{

class JsonUtils
{
public:
    // Finds the member `jsonName` of the document's root; a root that is no object has no members. Returns false, and
    // logs why, when it is missing or JSON null or when an argument is null. clientId must not be null or longer than
    // 64 characters: that ends the process through the C runtime's invalid-parameter handling.
    static bool GetJsonValue(JsonDocument* document, const wchar_t* jsonName, JsonValue** outJsonValue,
                             const wchar_t* clientId);

    // Reads the member `jsonName` as a number or as a string; anything else is logged and gives false. A fraction is
    // cut off, an integer beyond 32 bits keeps its low 32 bits. A string is not copied: it lives as long as the
    // document. `flag` is reserved, 0.
    static bool ParseJsonValue(JsonDocument* document, const wchar_t* jsonName, std::uint32_t* resultValue,
                               unsigned int flag, const wchar_t* clientId);
    static bool ParseJsonValue(JsonDocument* document, const wchar_t* jsonName, wchar_t** resultValue,
                               unsigned int flag, const wchar_t* clientId);

private:
    static JsonValue* FindValueOfType(JsonDocument* document, const wchar_t* jsonName, const void* resultValue,
                                      rapidjson::Type expected, const wchar_t* clientId);
};

// The 32-bit integer form of a JSON number.
[[nodiscard]] std::uint32_t ToUint32(const JsonValue& number) noexcept;

} // namespace Zv::Tessel::Server::Services
