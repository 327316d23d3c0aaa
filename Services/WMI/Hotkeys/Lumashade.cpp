#include "Services/WMI/Hotkeys/Lumashade.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Services/WMI/Hotkeys/HotkeyEvent.h"
#include "Shared/Log/TextLog.h"

#include <utility>

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

LumashadeHotKeyListener::LumashadeHotKeyListener()
    : supportedBoardIds(Lumashade.supportedBoardIds.begin(), Lumashade.supportedBoardIds.end()),
      hotkeyEventIds(Lumashade.hotkeyEventIds.begin(), Lumashade.hotkeyEventIds.end())
{
}

bool LumashadeHotKeyListener::hotkeyListener()
{
    return Arm(Lumashade, supportedBoardIds, hotkeyEventIds, &LumashadeAppHotKeyEventCallback);
}

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

LumashadeAppLauncher::LumashadeAppLauncher() : IAppLauncher{Lumashade} {}

void LumashadeAppLauncher::LaunchApp(std::wstring argument)
{
    Launch(Lumashade, std::move(argument));
}

std::shared_ptr<IHotKeyListener> LumashadeHotKeyAppLauncherFactory::CreateHotKeyListener()
{
    return std::make_shared<LumashadeHotKeyListener>();
}

std::shared_ptr<IAppLauncher> LumashadeHotKeyAppLauncherFactory::CreateAppLauncher()
{
    return std::make_shared<LumashadeAppLauncher>();
}

} // namespace Zv::Tessel::Server::Services::WMI
