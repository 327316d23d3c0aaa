#include "Services/WMI/Records/ReadSetBiosSettingParamsJason.h"

#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Log/TypeName.h"

namespace Zv::Tessel::Server::Services::WMI
{

ReadSetBiosSettingParamsJason::ReadSetBiosSettingParamsJason(JsonDocument* document, const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadSetBiosSettingParamsJason>(),
                              "ReadSetBiosSettingParamsJason", clientId};
    name = reader.RequiredText(L"name", "name", SettingNameMissing);
    value = reader.RequiredText(L"value", "value", SettingValueMissing);
    password = reader.Password();
}

} // namespace Zv::Tessel::Server::Services::WMI
