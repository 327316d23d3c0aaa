#include "Services/WMI/Records/ReadSetBiosSystemDefaultsParamsJason.h"

#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Log/TypeName.h"

namespace Zv::Tessel::Server::Services::WMI
{

ReadSetBiosSystemDefaultsParamsJason::ReadSetBiosSystemDefaultsParamsJason(JsonDocument* document,
                                                                           const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadSetBiosSystemDefaultsParamsJason>(),
                              "ReadSetBiosSystemDefaultsParamsJason", clientId};
    password = reader.Password();
}

} // namespace Zv::Tessel::Server::Services::WMI
