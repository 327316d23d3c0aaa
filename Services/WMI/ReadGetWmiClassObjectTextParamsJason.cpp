#include "Services/WMI/ReadGetWmiClassObjectTextParamsJason.h"

#include "Services/WMI/RecordReader.h"
#include "Shared/TypeName.h"

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
