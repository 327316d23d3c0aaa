// Response of function 2: what the firmware returned.
#pragma once

#include "Shared/Json/JsonDocument.h"

#include <cstdint>

namespace Zv::Tessel::Server::Services::WMI
{

// Holds nothing: its constructor adds the member "result" to the response, an object with "returnCode" and, when
// there is data, the base64 text "returnData".
struct WriteBiosWmiCommandReturnsJson
{
    // returnDataSize: bytes at returnData. Throws the result code, as an int, when the data cannot be encoded.
    WriteBiosWmiCommandReturnsJson(JsonDocument* document, std::uint32_t returnCode, std::uint32_t returnDataSize,
                                   const unsigned char* returnData, const wchar_t* clientId);
};

} // namespace Zv::Tessel::Server::Services::WMI
