#include "Services/WMI/Hotkeys/Chimebox.h"

#include "Platform/Windows/BoundedFormat.h"
#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Services/WMI/Hotkeys/HotkeyEvent.h"
#include "Shared/Log/TextLog.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <cwchar>
#include <iterator>
#include <system_error>
#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

// Wider on purpose than the ids that the listener subscribes to.
constexpr std::int32_t AcceptedIds[] = {3, 20, 21, 33, 0x20001, 0x20002};

bool IsAccepted(std::int32_t id) noexcept
{
    return std::ranges::find(AcceptedIds, id) != std::end(AcceptedIds);
}

std::wstring LocalTime()
{
    const __time64_t now = _time64(nullptr);
    tm local{};
    if (const errno_t error = _localtime64_s(&local, &now); error != 0)
    {
        throw std::system_error{error, std::generic_category()};
    }
    wchar_t text[80];
    return {text, wcsftime(text, std::size(text), L"%y-%m-%d %H:%M:%S", &local)};
}

std::wstring Argument(std::int32_t id, std::int32_t data)
{
    wchar_t numbers[2 * std::size(L"-2147483648#")]; // always wide enough
    static_cast<void>(Shared::WMI::BoundedFormat(numbers, sizeof numbers, L"%d#%d#", id, data));
    return numbers + LocalTime();
}

} // namespace

ChimeboxHotKeyListener::ChimeboxHotKeyListener()
    : supportedBoardIds(Chimebox.supportedBoardIds.begin(), Chimebox.supportedBoardIds.end()),
      hotkeyEventIds(Chimebox.hotkeyEventIds.begin(), Chimebox.hotkeyEventIds.end())
{
}

bool ChimeboxHotKeyListener::hotkeyListener()
{
    return Arm(Chimebox, supportedBoardIds, hotkeyEventIds, &ChimeboxAppHotKeyEventCallback);
}

void ChimeboxAppHotKeyEventCallback(wchar_t* eventText)
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
        const HotkeyEvent event = ReadHotkeyEvent(eventText);
        if (event.id.has_value() && IsAccepted(*event.id))
        {
            ChimeboxHotKeyAppLauncherFactory factory;
            LaunchCompanionApp(factory, logger, Argument(*event.id, event.data.value_or(0)));
        }
    }
    catch (...)
    {
        log.Error(Chimebox.callbackFailed);
    }
}

ChimeboxAppLauncher::ChimeboxAppLauncher() : IAppLauncher{Chimebox} {}

void ChimeboxAppLauncher::LaunchApp(std::wstring argument)
{
    Launch(Chimebox, std::move(argument));
}

std::shared_ptr<IHotKeyListener> ChimeboxHotKeyAppLauncherFactory::CreateHotKeyListener()
{
    return std::make_shared<ChimeboxHotKeyListener>();
}

std::shared_ptr<IAppLauncher> ChimeboxHotKeyAppLauncherFactory::CreateAppLauncher()
{
    return std::make_shared<ChimeboxAppLauncher>();
}

} // namespace Zv::Tessel::Server::Services::WMI
