#include "Services/WMI/Hotkeys/IHotKeyListener.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Services/WMI/Hotkeys/EventListner.h"
#include "Services/WMI/Hotkeys/PrivateSession.h"
#include "Services/WMI/WMIService.h"
#include "Shared/Json/JsonText.h"
#include "Shared/Log/TextLog.h"

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

constexpr const wchar_t* PlatformIdFailed = L"getPlatformId() Failed to get the platform ID string.";

JsonDocument PlatformIdRequest()
{
    JsonDocument request{rapidjson::kObjectType};
    request.AddMember(L"property", BoardIdProperty, request.GetAllocator());
    request.AddMember(L"wmiClass", BoardIdClass, request.GetAllocator());
    request.AddMember(L"wmiNamespace", BoardIdNamespace, request.GetAllocator());
    return request;
}

// The string in the member "result", null when there is none.
const wchar_t* FindResult(const JsonDocument& response)
{
    if (!response.IsObject())
    {
        return nullptr;
    }
    const auto result = response.FindMember(L"result");
    return result != response.MemberEnd() && result->value.IsString() ? result->value.GetString() : nullptr;
}

} // namespace

std::wstring IHotKeyListener::getPlatformId() const noexcept
{
    const Shared::TextLog log{logger};
    std::wstring platformId;
    try
    {
        const auto service = std::make_unique<WMIService>();
        wchar_t clientId[] = L"APP_FETCH_Platform_ID_CONTEXT";
        const PrivateSession session = OpenPrivateSession(clientId);
        const ResponseText text =
            RunPrivateCommand(*service, session.get(), FunctionNumber::GetWmiPropertyValue, PlatformIdRequest(), {});
        JsonDocument response;
        const bool parsed = text != nullptr && ParseJson(text.get(), response);
        const wchar_t* const result = parsed ? FindResult(response) : nullptr;
        if (result != nullptr)
        {
            platformId = result;
        }
        else
        {
            log.Error(PlatformIdFailed);
        }
    }
    catch (...)
    {
        log.Error(PlatformIdFailed);
    }
    return platformId;
}

bool IHotKeyListener::listenerShouldRun(const std::set<std::wstring>& supportedBoardIds) const noexcept
{
    try
    {
        return supportedBoardIds.empty() || supportedBoardIds.contains(getPlatformId());
    }
    catch (...)
    {
        Shared::TextLog{logger}.Error(L"listenerShouldRun() Failed to verify listner running check.");
        return false;
    }
}

bool IHotKeyListener::Arm(const CompanionApp& app, const std::set<std::wstring>& supportedBoardIds,
                          const std::vector<int>& hotkeyEventIds, void (*callback)(wchar_t*))
{
    const Shared::TextLog log{logger};
    if (!listenerShouldRun(supportedBoardIds))
    {
        log.Warning(app.notSupported);
        return false;
    }

    log.Info(app.isRunning);
    isRunning = true;
    for (const int id : hotkeyEventIds)
    {
        auto listener = std::make_shared<EventListner>(app.packageFamilyName, logger);
        eventListeners[id] = listener;
        listener->SetupListner(id, callback);
    }
    return true;
}

} // namespace Zv::Tessel::Server::Services::WMI
