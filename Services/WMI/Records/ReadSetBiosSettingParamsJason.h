// Request of function 64: change one firmware setting.
#pragma once

#include "Shared/Json/JsonDocument.h"

namespace Zv::Tessel::Server::Services::WMI
{

// Texts point into the document and live as long as it does.
struct ReadSetBiosSettingParamsJason
{
    // Throws the result code, as an int, when the request is not usable; what was wrong has been logged then.
    ReadSetBiosSettingParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* name;
    wchar_t* value;
    wchar_t* password; // null: none given
};

} // namespace Zv::Tessel::Server::Services::WMI
