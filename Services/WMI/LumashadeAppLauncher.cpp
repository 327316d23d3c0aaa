#include "Services/WMI/LumashadeAppLauncher.h"

#include "Services/WMI/CompanionApp.h"

#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

LumashadeAppLauncher::LumashadeAppLauncher() : IAppLauncher{Lumashade} {}

void LumashadeAppLauncher::LaunchApp(std::wstring argument)
{
    Launch(Lumashade, std::move(argument));
}

} // namespace Zv::Tessel::Server::Services::WMI
