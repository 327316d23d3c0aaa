#include "Services/WMI/Records/ReadGetWmiPropertyValueParamsJason.h"

#include "Services/WMI/Records/RecordReader.h"
#include "Shared/Log/TypeName.h"

namespace Zv::Tessel::Server::Services::WMI
{

ReadGetWmiPropertyValueParamsJason::ReadGetWmiPropertyValueParamsJason(JsonDocument* document, const wchar_t* clientId)
{
    const RecordReader reader{document, Shared::StructName<ReadGetWmiPropertyValueParamsJason>(),
                              "ReadGetWmiPropertyValueParamsJason", clientId};
    property = reader.RequiredText(L"property", "property", PropertyMissing);
    wmiClass = reader.RequiredText(L"wmiClass", "wmiClassName", ClassMissing);
    filter = reader.Filter();
    wmiNamespace = reader.RequiredText(L"wmiNamespace", "wmiNamespace", NamespaceMissing);
}

} // namespace Zv::Tessel::Server::Services::WMI
