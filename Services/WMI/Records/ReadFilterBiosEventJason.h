// Request of functions 4 and 8: which firmware event.
#pragma once

#include "Shared/Json/JsonDocument.h"

#include <cstdint>

namespace Zv::Tessel::Server::Services::WMI
{

// Texts point into the document and live as long as it does.
struct ReadFilterBiosEventJason
{
    // Throws the result code, as an int, when the request is not usable; what was wrong has been logged then.
    ReadFilterBiosEventJason(JsonDocument* document, const wchar_t* clientId);

    std::uint32_t filterEvent = 0; // 0: no filter
};

} // namespace Zv::Tessel::Server::Services::WMI
