#include "Services/WMI/Records/FirmwareResponse.h"

#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Log/TypeName.h"

#include <windows.h>

#include <wincrypt.h>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

// The text lies in the document's pool: the value refers to it without another copy. Null value when encoding failed.
JsonValue EncodeBase64(const unsigned char* data, std::uint32_t size, JsonAllocator& allocator)
{
    DWORD length = 0;
    if (!CryptBinaryToStringW(data, size, CRYPT_STRING_BASE64, nullptr, &length))
    {
        return JsonValue{};
    }
    const std::size_t room = (static_cast<std::size_t>(length) + 1) * sizeof(wchar_t);
    auto* const text = static_cast<wchar_t*>(allocator.Malloc(room));
    ++length;
    if (!CryptBinaryToStringW(data, size, CRYPT_STRING_BASE64, text, &length))
    {
        return JsonValue{};
    }
    return JsonValue{rapidjson::StringRef(text, length)};
}

} // namespace

WriteBiosWmiCommandReturnsJson::WriteBiosWmiCommandReturnsJson(JsonDocument* document, std::uint32_t returnCode,
                                                               std::uint32_t returnDataSize,
                                                               const unsigned char* returnData, const wchar_t* clientId)
{
    const RecordReader record{document, Shared::StructName<WriteBiosWmiCommandReturnsJson>(),
                              "WriteBiosWmiCommandReturnsJson", clientId};
    auto& allocator = document->GetAllocator();
    JsonValue result{rapidjson::kObjectType};
    result.AddMember(L"returnCode", returnCode, allocator);
    if (returnDataSize != 0)
    {
        JsonValue text = EncodeBase64(returnData, returnDataSize, allocator);
        if (!text.IsString())
        {
            record.Log().Warning(L"%S.%S - unable to 64 base encode binary", record.RecordName());
            throw static_cast<int>(GeneralFailure);
        }
        result.AddMember(L"returnData", text, allocator);
    }
    document->AddMember(L"result", result, allocator);
}

} // namespace Zv::Tessel::Server::Services::WMI
