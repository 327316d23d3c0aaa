#include "Services/WMI/Hotkeys/EventListner.h"

#include "Platform/Windows/ModuleLifetime.h"
#include "Platform/Windows/Thread.h"
#include "Services/ClientId.h"
#include "Services/WMI/WMIService.h"
#include "Shared/Log/TextLog.h"

#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

EventListner::EventListner(std::wstring appName, Logging::TraceLogger* log)
    : name{std::move(appName)},
      service{std::make_unique<WMIService>()},
      logger{log}
{
}

EventListner::~EventListner()
{
    if (Shared::ProcessIsEnding())
    {
        static_cast<void>(context.release());
        static_cast<void>(service.release());
        return;
    }
    EndSubscription();
    contextName.reset();
    context.reset();
}

void EventListner::SetupListner(int id, ProgressCallback callback) noexcept
{
    try
    {
        eventId = id;
        contextName = CopyClientId((L"APP_" + name + L"_LAUNCHER").c_str());
        context = OpenPrivateSession(contextName.get());
        Shared::ModuleReference loaded;
        Shared::StartDetachedThread(
            [this, appName = name, callback = std::move(callback)] { ListenForEvents(appName, callback); });
        loaded.Pin();
    }
    catch (...)
    {
        Shared::TextLog{logger}.Error(L"SetupListner() failed to setup listner.");
    }
}

void EventListner::ListenForEvents(const std::wstring& appName, const ProgressCallback& callback) const noexcept
{
    const Shared::TextLog log{logger};
    try
    {
        log.Info((appName + L" Running").c_str());
        RunPrivateCommand(*service, context.get(), FunctionNumber::RegisterBiosEventNotification, Request(), callback);
        log.Info((appName + L" Stopped").c_str());
    }
    catch (...)
    {
        log.Error(L"SetupListner() failed to create event listening thread.");
    }
}

void EventListner::EndSubscription() const noexcept
{
    try
    {
        RunPrivateCommand(*service, context.get(), FunctionNumber::UnregisterBiosWmiEventNotification, Request(), {});
    }
    catch (...)
    {
        Shared::TextLog{logger}.Error(L"~EventListner() Failed to release the acquired resources.");
    }
}

JsonDocument EventListner::Request() const
{
    JsonDocument request{rapidjson::kObjectType};
    request.AddMember(L"filterEvent", eventId, request.GetAllocator());
    return request;
}

} // namespace Zv::Tessel::Server::Services::WMI
