#include "Services/WMI/Hotkeys/LumashadeAppLauncher.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"

#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

LumashadeAppLauncher::LumashadeAppLauncher() : IAppLauncher{Lumashade} {}

void LumashadeAppLauncher::LaunchApp(std::wstring argument)
{
    Launch(Lumashade, std::move(argument));
}

} // namespace Zv::Tessel::Server::Services::WMI
