#include "Services/WMI/Hotkeys/LumashadeAppHotKeyEventCallback.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Services/WMI/Hotkeys/HotkeyEvent.h"
#include "Services/WMI/Hotkeys/LumashadeHotKeyAppLauncherFactory.h"
#include "Shared/Log/TextLog.h"

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

// Bits of the event's data that are all set when the key asks for the app.
constexpr std::int32_t LaunchRequest = 0xFF0000;

bool AsksForApp(const HotkeyEvent& event) noexcept
{
    return event.id == LumashadeEventIds[0] && event.data.has_value() && (*event.data & LaunchRequest) == LaunchRequest;
}

} // namespace

void LumashadeAppHotKeyEventCallback(wchar_t* eventText)
{
    Logging::TraceLogger* const logger = Logging::LogManager::GetLogger();
    const Shared::TextLog log{logger};
    try
    {
        if (eventText == nullptr)
        {
            log.Error(NoEventText);
            return;
        }
        if (AsksForApp(ReadHotkeyEvent(eventText)))
        {
            LumashadeHotKeyAppLauncherFactory factory;
            LaunchCompanionApp(factory, logger, L"");
        }
    }
    catch (...)
    {
        log.Error(Lumashade.callbackFailed);
    }
}

} // namespace Zv::Tessel::Server::Services::WMI
