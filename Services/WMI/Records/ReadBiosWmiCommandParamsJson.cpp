#include "Services/WMI/Records/ReadBiosWmiCommandParamsJson.h"

#include "Shared/Log/TypeName.h"
#include "Shared/WMI/FirmwareNames.h"

#include <windows.h>

#include <wincrypt.h>

#include <algorithm>
#include <cwchar>
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

    const auto length = static_cast<DWORD>(wcsnlen(inputData, MaxInputTextLength));
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

} // namespace Zv::Tessel::Server::Services::WMI
