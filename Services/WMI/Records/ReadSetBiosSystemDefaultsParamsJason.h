// Request of function 128: restore the firmware's defaults.
#pragma once

#include "Shared/Json/JsonDocument.h"

namespace Zv::Tessel::Server::Services::WMI
{

// Texts point into the document and live as long as it does.
struct ReadSetBiosSystemDefaultsParamsJason
{
    // Throws the result code, as an int, when the request is not usable; what was wrong has been logged then.
    ReadSetBiosSystemDefaultsParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* password; // null: none given
};

} // namespace Zv::Tessel::Server::Services::WMI
