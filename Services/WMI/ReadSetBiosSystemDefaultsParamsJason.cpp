#include "Services/WMI/ReadSetBiosSystemDefaultsParamsJason.h"

#include "Services/WMI/RecordReader.h"
#include "Shared/TypeName.h"

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
