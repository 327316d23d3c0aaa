#include "Services/WMI/Records/ReadFilterBiosEventJason.h"

#include "Services/JsonUtils.h"
#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Log/TypeName.h"

namespace Zv::Tessel::Server::Services::WMI
{

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

} // namespace Zv::Tessel::Server::Services::WMI
