// Handlers of the commands that relay firmware events.

#include "Services/WMI/EventRegistration.h"
#include "Services/WMI/EventResult.h"
#include "Services/WMI/HandlerEdge.h"
#include "Services/WMI/Records/Requests.h"
#include "Services/WMI/WMIService.h"
#include "Services/WMI/WMIServiceContext.h"

namespace Zv::Tessel::Server::Services::WMI
{

int WMIService::RegisterBiosEventNotification(JsonDocument* request, JsonDocument* response,
                                              ProgressCallback progressCallback, WMIServiceContext* context)
{
    const wchar_t* const logContext = context->clientId.get();
    return Handle({{request, "request"}, {response, "response"}, {&progressCallback, "progressCallback"}}, logContext,
                  [&] {
                      const Shared::ClassLog log = Log(logContext);
                      return EventRegistration{*context, log}.Run(*request, *response, progressCallback);
                  });
}

int WMIService::UnregisterBiosWmiEventNotification(JsonDocument* request, JsonDocument* response,
                                                   WMIServiceContext* context)
{
    const wchar_t* const logContext = context->clientId.get();
    return Handle({{request, "request"}, {response, "response"}}, logContext, [&]() -> int {
        const ReadFilterBiosEventJason filter{request, logContext};
        if (filter.filterEvent != 0)
        {
            const int left = context->event.RemoveEventId(static_cast<int>(filter.filterEvent));
            if (left != 0)
            {
                SetResult(*response, left > 0 ? UnregisterResult::Removed : UnregisterResult::NotListenedFor);
                return Success;
            }
        }

        switch (context->SignalStop())
        {
        case WMIServiceContext::StopSignal::NothingWaits:
            SetResult(*response, UnregisterResult::NothingWaits);
            return Success;
        case WMIServiceContext::StopSignal::Sent:
            SetResult(*response, UnregisterResult::Stopping);
            return Success;
        case WMIServiceContext::StopSignal::Failed:
            break;
        }
        Log(logContext).WindowsCallFailed("UnregisterBiosWmiEventNotification", L"SetEvent", GetLastError());
        return GeneralFailure;
    });
}

} // namespace Zv::Tessel::Server::Services::WMI
