#include "Host/Text/Json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Zv::Host
{

JsonObject& JsonObject::Add(std::string_view key, std::string_view text)
{
    return AddJson(key, JsonString(text));
}

JsonObject& JsonObject::Add(std::string_view key, int number)
{
    return AddJson(key, std::to_string(number));
}

JsonObject& JsonObject::Add(std::string_view key, unsigned int number)
{
    return AddJson(key, std::to_string(number));
}

JsonObject& JsonObject::AddJson(std::string_view key, std::string_view json)
{
    m_members += m_members.empty() ? "" : ",";
    m_members += JsonString(key) + ':';
    m_members += json;
    return *this;
}

std::string JsonString(std::string_view text)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return {buffer.GetString(), buffer.GetSize()};
}

std::string JsonText(const JsonValue& value)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

std::string PlainText(const JsonValue& value)
{
    if (value.IsString())
    {
        return {value.GetString(), value.GetStringLength()};
    }
    if (value.IsArray())
    {
        std::string text;
        for (const JsonValue& element : value.GetArray())
        {
            text += (text.empty() ? "" : ", ") + PlainText(element);
        }
        return text;
    }
    return JsonText(value);
}

} // namespace Zv::Host
