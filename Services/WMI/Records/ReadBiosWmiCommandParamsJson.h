// Request of function 2: a raw firmware command.
#pragma once

#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Json/JsonDocument.h"

#include <cstdint>
#include <memory>

namespace Zv::Tessel::Server::Services::WMI
{

// Texts point into the document and live as long as it does.
struct ReadBiosWmiCommandParamsJson
{
    // Throws the result code, as an int, when the request is not usable; what was wrong has been logged then.
    ReadBiosWmiCommandParamsJson(JsonDocument* document, const wchar_t* clientId);

    std::uint32_t command;
    std::uint32_t commandType;
    std::uint32_t inputDataSize;                   // bytes
    std::uint32_t returnDataSize;                  // bytes: 0, 4, 128, 1024 or 4096
    wchar_t* inputData = nullptr;                  // base64, in the document
    std::unique_ptr<unsigned char[]> decodedInput; // inputDataSize bytes; null when that is 0

private:
    void DecodeInput(const RecordReader& reader);
};

} // namespace Zv::Tessel::Server::Services::WMI
