#include "Services/WMI/Records/Requests.h"

#include "Services/JsonUtils.h"
#include "Shared/Json/TextScan.h"
#include "Shared/Log/TypeName.h"
#include "Shared/WMI/FirmwareNames.h"

#include <windows.h>

#include <wincrypt.h>

#include <algorithm>
#include <iterator>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

// The most base64 text that is looked at, in characters.
constexpr std::size_t MaxInputTextLength = 8192;

} // namespace

ReadBiosWmiCommandParamsJson::ReadBiosWmiCommandParamsJson(JsonDocument* document, const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadBiosWmiCommandParamsJson>(),
                              "ReadBiosWmiCommandParamsJson", clientId};
    command = reader.Number(L"command", "command", CommandMissing);
    commandType = reader.Number(L"commandType", "commandType", CommandTypeMissing);
    inputDataSize = reader.Number(L"inputDataSize", "inputDataSize", InputDataSizeMissing);
    returnDataSize = reader.Number(L"returnDataSize", "returnDataSize", ReturnDataSizeMissing);
    if (std::ranges::find(Shared::WMI::FirmwareReturnSizes, returnDataSize) ==
        std::end(Shared::WMI::FirmwareReturnSizes))
    {
        reader.Fail("returnDataSize", ReturnDataSizeInvalid);
    }
    if (inputDataSize != 0)
    {
        inputData = reader.Text(L"inputData", "inputData", InputDataMissing);
        DecodeInput(reader);
    }
}

void ReadBiosWmiCommandParamsJson::DecodeInput(const RecordReader& reader)
{
    const auto decodeFailed = [&reader](ResultCode code) {
        reader.Log().Warning(L"%S.%S - unable to 64 base decode binary, GetLastError = %d", reader.RecordName(),
                             GetLastError());
        throw static_cast<int>(code);
    };

    const auto length = static_cast<DWORD>(BoundedLength(inputData, MaxInputTextLength));
    DWORD decodedSize = 0;
    if (!CryptStringToBinaryW(inputData, length, CRYPT_STRING_BASE64, nullptr, &decodedSize, nullptr, nullptr))
    {
        decodeFailed(GeneralFailure);
    }
    if (decodedSize != inputDataSize)
    {
        reader.Log().Warning(L"%S.%S - invalid input data size. requested input is %d byte, but input data has %d byte",
                             reader.RecordName(), inputDataSize, decodedSize);
        throw static_cast<int>(InputDataSizeMismatch);
    }

    const std::size_t roundedUp = (static_cast<std::size_t>(decodedSize) + 3) / 4 * 4;
    decodedInput = std::make_unique<unsigned char[]>(roundedUp);
    if (!CryptStringToBinaryW(inputData, length, CRYPT_STRING_BASE64, decodedInput.get(), &decodedSize, nullptr,
                              nullptr))
    {
        decodeFailed(InputDataSizeMismatch);
    }
}

ReadFilterBiosEventJason::ReadFilterBiosEventJason(JsonDocument* document, const wchar_t* clientId)
{
    constexpr const wchar_t* key = L"filterEvent";
    const RecordReader reader{document, Shared::StructName<ReadFilterBiosEventJason>(), "ReadFilterBiosEventJason",
                              clientId};
    // The text "null", and any text that could not be parsed, asks for no filter.
    JsonValue* value = nullptr;
    if (document->IsNull() || !JsonUtils::GetJsonValue(document, key, &value, clientId))
    {
        return;
    }
    if (!JsonUtils::ParseJsonValue(document, key, &filterEvent, 0, clientId))
    {
        reader.Log().Warning(L"%S.%S - specified BIOS event id for filtering is invalid", reader.RecordName());
        throw static_cast<int>(EventFilterInvalid);
    }
}

ReadGetWmiPropertyValueParamsJason::ReadGetWmiPropertyValueParamsJason(JsonDocument* document, const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadGetWmiPropertyValueParamsJason>(),
                              "ReadGetWmiPropertyValueParamsJason", clientId};
    property = reader.RequiredText(L"property", "property", PropertyMissing);
    wmiClass = reader.RequiredText(L"wmiClass", "wmiClassName", ClassMissing);
    filter = reader.Filter();
    wmiNamespace = reader.RequiredText(L"wmiNamespace", "wmiNamespace", NamespaceMissing);
}

ReadGetWmiClassObjectTextParamsJason::ReadGetWmiClassObjectTextParamsJason(JsonDocument* document,
                                                                           const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadGetWmiClassObjectTextParamsJason>(),
                              "ReadGetWmiClassObjectTextParamsJason", clientId};
    wmiClass = reader.RequiredText(L"wmiClass", "wmiClassName", ClassMissing);
    filter = reader.Filter();
    wmiNamespace = reader.RequiredText(L"wmiNamespace", "wmiNamespace", NamespaceMissing);
}

ReadSetBiosSettingParamsJason::ReadSetBiosSettingParamsJason(JsonDocument* document, const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadSetBiosSettingParamsJason>(),
                              "ReadSetBiosSettingParamsJason", clientId};
    name = reader.RequiredText(L"name", "name", SettingNameMissing);
    value = reader.RequiredText(L"value", "value", SettingValueMissing);
    password = reader.Password();
}

ReadSetBiosSystemDefaultsParamsJason::ReadSetBiosSystemDefaultsParamsJason(JsonDocument* document,
                                                                           const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadSetBiosSystemDefaultsParamsJason>(),
                              "ReadSetBiosSystemDefaultsParamsJason", clientId};
    password = reader.Password();
}

} // namespace Zv::Tessel::Server::Services::WMI
