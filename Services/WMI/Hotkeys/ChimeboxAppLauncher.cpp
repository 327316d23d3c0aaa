#include "Services/WMI/Hotkeys/ChimeboxAppLauncher.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"

#include <utility>

namespace Zv::Tessel::Server::Services::WMI
{

ChimeboxAppLauncher::ChimeboxAppLauncher() : IAppLauncher{Chimebox} {}

void ChimeboxAppLauncher::LaunchApp(std::wstring argument)
{
    Launch(Chimebox, std::move(argument));
}

} // namespace Zv::Tessel::Server::Services::WMI
