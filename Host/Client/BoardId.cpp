#include "Host/Client/BoardId.h"

#include "Host/Text/Json.h"
#include "Platform/Windows/Utf8.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"

namespace Zv::Host
{

namespace WMI = Tessel::Server::Services::WMI;

std::optional<std::string> ReadBoardId(Session& session)
{
    const Reply reply = session.Execute(Tessel::Server::Services::FunctionNumber::GetWmiPropertyValue,
                                        JsonObject{}
                                            .Add("property", ToUtf8(WMI::BoardIdProperty))
                                            .Add("wmiClass", ToUtf8(WMI::BoardIdClass))
                                            .Add("wmiNamespace", ToUtf8(WMI::BoardIdNamespace))
                                            .Text());
    JsonDocument document;
    document.Parse(reply.response.value_or("{}").c_str());
    const bool isText = !document.HasParseError() && document.IsObject() && document.HasMember("result") &&
                        document["result"].IsString();
    return isText ? std::optional{PlainText(document["result"])} : std::nullopt;
}

} // namespace Zv::Host
