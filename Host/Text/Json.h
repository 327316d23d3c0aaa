// The JSON that the host reads and writes, in UTF-8.
#pragma once

#include <rapidjson/document.h>

#include <string>
#include <string_view>

namespace Zv::Host
{

using JsonDocument = rapidjson::Document;
using JsonValue = rapidjson::Value;

// Builds one object, member by member.
class JsonObject
{
public:
    JsonObject& Add(std::string_view key, std::string_view text);
    JsonObject& Add(std::string_view key, int number);
    JsonObject& Add(std::string_view key, unsigned int number);
    JsonObject& AddJson(std::string_view key, std::string_view json); // json: one valid JSON text

    [[nodiscard]] std::string Text() const { return '{' + m_members + '}'; }

private:
    std::string m_members;
};

[[nodiscard]] std::string JsonString(std::string_view text); // quoted and escaped
[[nodiscard]] std::string JsonText(const JsonValue& value);  // compact

// A value as a person wants it: texts without quotes, an array as its elements with commas between them.
[[nodiscard]] std::string PlainText(const JsonValue& value);

} // namespace Zv::Host
