#include "Host/Trace/Secrets.h"

#include "Host/Recording/Redaction.h"
#include "Host/Text/Json.h"
#include "Platform/Windows/Utf8.h"

#include "Services/ZVService.h"

#include <utility>

namespace Zv::Host::Tracing
{

using Tessel::Server::Services::FunctionNumber;
using Tessel::Server::Shared::LockGuard;

namespace
{

// A shorter text would be found by chance in others: it is hidden only where it stands alone.
constexpr std::size_t ShortestWithin = 4;
constexpr std::size_t LongestJson = 400;

std::wstring TextOf(const JsonValue& value)
{
    return value.IsString() ? ToUtf16({value.GetString(), value.GetStringLength()}) : std::wstring{};
}

std::string SizeOnly(const JsonValue& value)
{
    return std::to_string(value.GetStringLength()) + " characters of base64";
}

void SetText(JsonValue& value, const std::string& text, JsonDocument& document)
{
    value.SetString(text.c_str(), static_cast<rapidjson::SizeType>(text.size()), document.GetAllocator());
}

std::string Cut(std::string text)
{
    if (text.size() <= LongestJson)
    {
        return text;
    }
    const std::string size = std::to_string(text.size());
    std::size_t end = LongestJson;
    while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
    {
        --end; // not within a character
    }
    text.resize(end);
    return text + "... (" + size + " bytes)";
}

} // namespace

void Secrets::Learn(std::wstring_view secret)
{
    if (!secret.empty())
    {
        const LockGuard held{m_lock};
        m_texts.emplace(secret);
    }
}

std::wstring Secrets::Clean(std::wstring_view text) const
{
    const std::wstring hidden = ToUtf16(Hidden);
    std::wstring clean{text};
    {
        const LockGuard held{m_lock};
        for (const std::wstring& secret : m_texts)
        {
            if (clean == secret)
            {
                return hidden;
            }
            for (std::size_t begin = secret.size() < ShortestWithin ? std::wstring::npos : clean.find(secret);
                 begin != std::wstring::npos; begin = clean.find(secret, begin + hidden.size()))
            {
                clean.replace(begin, secret.size(), hidden);
            }
        }
    }
    return WithoutUserFolders(std::move(clean));
}

std::string Secrets::Request(std::wstring_view request, bool withData)
{
    const std::string text = ToUtf8(request);
    JsonDocument document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.c_str(), text.size());
    if (document.HasParseError() || !document.IsObject())
    {
        return std::to_string(request.size()) + " characters that are no JSON object"; // and may hold anything
    }
    const bool nameIsSecret = document.HasMember("name") && IsSecretName(TextOf(document["name"]));
    for (auto member = document.MemberBegin(); member != document.MemberEnd(); ++member)
    {
        const std::wstring name = TextOf(member->name);
        if (IsSecretName(name) || (nameIsSecret && name == L"value"))
        {
            Learn(TextOf(member->value));
            SetText(member->value, Hidden, document);
        }
        else if (name == L"inputData" && !withData && member->value.IsString())
        {
            SetText(member->value, SizeOnly(member->value), document);
        }
        else if (member->value.IsString())
        {
            SetText(member->value, ToUtf8(Clean(TextOf(member->value))), document);
        }
        else if (!member->value.IsNumber())
        {
            SetText(member->value, "not a text", document); // no command takes such a value
        }
    }
    return Cut(JsonText(document));
}

bool Secrets::AsksForSecret(std::wstring_view request)
{
    const std::string text = ToUtf8(request);
    JsonDocument document;
    document.Parse<rapidjson::kParseIterativeFlag>(text.c_str(), text.size());
    return !document.HasParseError() && document.IsObject() && document.HasMember("property") &&
           IsSecretName(TextOf(document["property"]));
}

std::string Secrets::Response(unsigned int function, std::string_view response, bool withData) const
{
    JsonDocument document;
    document.Parse<rapidjson::kParseIterativeFlag>(response.data(), response.size());
    if (document.HasParseError() || !document.IsObject())
    {
        return std::to_string(response.size()) + " bytes that are no JSON object";
    }
    if (function == static_cast<unsigned int>(FunctionNumber::ExecuteBiosWmiCommand) && !withData &&
        document.HasMember("result") && document["result"].IsObject() && document["result"].HasMember("returnData"))
    {
        JsonValue& data = document["result"]["returnData"];
        SetText(data, SizeOnly(data), document);
    }
    return Cut(ToUtf8(Clean(ToUtf16(JsonText(document)))));
}

} // namespace Zv::Host::Tracing
