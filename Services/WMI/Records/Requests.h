// The requests of all functions as typed records.
//
// Texts in a record point into the request document and live as long as it does. Each constructor throws the result
// code, as an int, when the request is not usable; what was wrong has been logged then.
#pragma once

#include "Services/WMI/Records/RecordReader.h"

#include <cstdint>
#include <memory>

namespace Zv::Tessel::Server::Services::WMI
{

// Function 2: a raw firmware command.
struct ReadBiosWmiCommandParamsJson
{
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

// Functions 4 and 8: which firmware event.
struct ReadFilterBiosEventJason
{
    ReadFilterBiosEventJason(JsonDocument* document, const wchar_t* clientId);

    std::uint32_t filterEvent = 0; // 0: no filter
};

// Functions 16 and 32: a property of a class's instances.
struct ReadGetWmiPropertyValueParamsJason
{
    ReadGetWmiPropertyValueParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* property;
    wchar_t* wmiClass;
    wchar_t* filter; // null: every instance
    wchar_t* wmiNamespace;
};

// Function 256: the text of a class's instances.
struct ReadGetWmiClassObjectTextParamsJason
{
    ReadGetWmiClassObjectTextParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* wmiClass;
    wchar_t* filter; // null: every instance
    wchar_t* wmiNamespace;
};

// Function 64: change one firmware setting.
struct ReadSetBiosSettingParamsJason
{
    ReadSetBiosSettingParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* name;
    wchar_t* value;
    wchar_t* password; // null: none given
};

// Function 128: restore the firmware's defaults.
struct ReadSetBiosSystemDefaultsParamsJason
{
    ReadSetBiosSystemDefaultsParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* password; // null: none given
};

} // namespace Zv::Tessel::Server::Services::WMI
