#include "Services/WMI/Records/ReadGetWmiClassObjectTextParamsJason.h"

#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Log/TypeName.h"

namespace Zv::Tessel::Server::Services::WMI
{

ReadGetWmiClassObjectTextParamsJason::ReadGetWmiClassObjectTextParamsJason(JsonDocument* document,
                                                                           const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadGetWmiClassObjectTextParamsJason>(),
                              "ReadGetWmiClassObjectTextParamsJason", clientId};
    wmiClass = reader.RequiredText(L"wmiClass", "wmiClassName", ClassMissing);
    filter = reader.Filter();
    wmiNamespace = reader.RequiredText(L"wmiNamespace", "wmiNamespace", NamespaceMissing);
}

} // namespace Zv::Tessel::Server::Services::WMI
