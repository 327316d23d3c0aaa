#include "Services/WMI/Hotkeys/PrivateSession.h"

#include "Shared/Json/JsonText.h"

namespace Zv::Tessel::Server::Services::WMI
{

PrivateSession OpenPrivateSession(wchar_t* clientId)
{
    auto context = std::make_unique<WMIServiceContext>(clientId);
    context->AddRef();
    return PrivateSession{context.release()};
}

ResponseText RunPrivateCommand(ZVService& service, WMIServiceContext* session, FunctionNumber function,
                               const JsonDocument& request, const ProgressCallback& callback)
{
    const std::unique_ptr<wchar_t[]> requestText = ToJsonText(request);
    wchar_t* response = nullptr;
    service.ExecuteCommand(session, static_cast<unsigned int>(function), requestText.get(), &response, callback,
                           nullptr);
    return ResponseText{response};
}

} // namespace Zv::Tessel::Server::Services::WMI
