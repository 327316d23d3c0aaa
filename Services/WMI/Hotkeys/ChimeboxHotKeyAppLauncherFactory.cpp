#include "Services/WMI/Hotkeys/ChimeboxHotKeyAppLauncherFactory.h"

#include "Services/WMI/Hotkeys/ChimeboxAppLauncher.h"
#include "Services/WMI/Hotkeys/ChimeboxHotKeyListener.h"

namespace Zv::Tessel::Server::Services::WMI
{

std::shared_ptr<IHotKeyListener> ChimeboxHotKeyAppLauncherFactory::CreateHotKeyListener()
{
    return std::make_shared<ChimeboxHotKeyListener>();
}

std::shared_ptr<IAppLauncher> ChimeboxHotKeyAppLauncherFactory::CreateAppLauncher()
{
    return std::make_shared<ChimeboxAppLauncher>();
}

} // namespace Zv::Tessel::Server::Services::WMI
