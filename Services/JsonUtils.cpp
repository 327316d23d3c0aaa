#include "Services/JsonUtils.h"

#include "Platform/Windows/CheckedCopy.h"
#include "Services/ClientId.h"
#include "Services/UtilHelper.h"
#include "Shared/Log/ClassLog.h"
#include "Shared/Log/TypeName.h"

#include <cmath>

namespace Zv::Tessel::Server::Services
{

namespace
{

Shared::ClassLog Log(const wchar_t* clientId)
{
    return {Logging::LogManager::GetLogger(), Shared::ClassName<JsonUtils>(), clientId};
}

} // namespace

std::uint32_t ToUint32(const JsonValue& number) noexcept
{
    if (number.IsUint64())
    {
        return static_cast<std::uint32_t>(number.GetUint64());
    }
    if (number.IsInt64())
    {
        return static_cast<std::uint32_t>(number.GetInt64());
    }
    constexpr double two32 = 4294967296.0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::fmod(std::trunc(number.GetDouble()), two32)));
}

bool JsonUtils::GetJsonValue(JsonDocument* document, const wchar_t* jsonName, JsonValue** outJsonValue,
                             const wchar_t* clientId)
{
    constexpr const char* method = "GetJsonValue";
    wchar_t logContext[MaxClientIdLength + 1];
    Shared::CheckedCopy(logContext, MaxClientIdLength + 1, clientId);

    if (UtilHelper::NullChecker({{document, "document"},
                                 {Shared::ClassName<JsonUtils>(), "className"},
                                 {jsonName, "jsonName"},
                                 {outJsonValue, "outJsonValue"}},
                                logContext))
    {
        return false;
    }

    if (document->IsObject())
    {
        const auto member = document->FindMember(jsonName);
        if (member != document->MemberEnd())
        {
            if (member->value.IsNull())
            {
                Log(logContext).Warning(L"%S.%S - %s cannot be null", method, jsonName);
                return false;
            }
            *outJsonValue = &member->value;
            return true;
        }
    }
    Log(logContext).Warning(L"%S.%S - %S missing key %s", method, "document", jsonName);
    return false;
}

JsonValue* JsonUtils::FindValueOfType(JsonDocument* document, const wchar_t* jsonName, const void* resultValue,
                                      rapidjson::Type expected, const wchar_t* clientId)
{
    if (UtilHelper::NullChecker({{clientId, "clientId"},
                                 {document, "document"},
                                 {Shared::ClassName<JsonUtils>(), "className"},
                                 {jsonName, "jsonName"},
                                 {resultValue, "resultValue"}},
                                clientId))
    {
        return nullptr;
    }

    JsonValue* value = nullptr;
    if (!GetJsonValue(document, jsonName, &value, clientId))
    {
        return nullptr;
    }
    if (value->GetType() != expected)
    {
        Log(clientId).Warning(L"%S.%S - %s is invalid type expected %d result %d", "ParseJsonValue", jsonName,
                              static_cast<int>(expected), static_cast<int>(value->GetType()));
        return nullptr;
    }
    return value;
}

bool JsonUtils::ParseJsonValue(JsonDocument* document, const wchar_t* jsonName, std::uint32_t* resultValue,
                               unsigned int /*flag*/, const wchar_t* clientId)
{
    const JsonValue* const value = FindValueOfType(document, jsonName, resultValue, rapidjson::kNumberType, clientId);
    if (value != nullptr)
    {
        *resultValue = ToUint32(*value);
    }
    return value != nullptr;
}

bool JsonUtils::ParseJsonValue(JsonDocument* document, const wchar_t* jsonName, wchar_t** resultValue,
                               unsigned int /*flag*/, const wchar_t* clientId)
{
    const JsonValue* const value = FindValueOfType(document, jsonName, resultValue, rapidjson::kStringType, clientId);
    if (value != nullptr)
    {
        *resultValue = const_cast<wchar_t*>(value->GetString());
    }
    return value != nullptr;
}

} // namespace Zv::Tessel::Server::Services
