// Request of function 256: the text of a class's instances.
#pragma once

#include "Shared/Json/JsonDocument.h"

namespace Zv::Tessel::Server::Services::WMI
{

// Texts point into the document and live as long as it does.
struct ReadGetWmiClassObjectTextParamsJason
{
    // Throws the result code, as an int, when the request is not usable; what was wrong has been logged then.
    ReadGetWmiClassObjectTextParamsJason(JsonDocument* document, const wchar_t* clientId);

    wchar_t* wmiClass;
    wchar_t* filter; // null: every instance
    wchar_t* wmiNamespace;
};

} // namespace Zv::Tessel::Server::Services::WMI
