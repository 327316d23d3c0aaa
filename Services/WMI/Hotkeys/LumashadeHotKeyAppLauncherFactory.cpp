#include "Services/WMI/Hotkeys/LumashadeHotKeyAppLauncherFactory.h"

#include "Services/WMI/Hotkeys/LumashadeAppLauncher.h"
#include "Services/WMI/Hotkeys/LumashadeHotKeyListener.h"

namespace Zv::Tessel::Server::Services::WMI
{

std::shared_ptr<IHotKeyListener> LumashadeHotKeyAppLauncherFactory::CreateHotKeyListener()
{
    return std::make_shared<LumashadeHotKeyListener>();
}

std::shared_ptr<IAppLauncher> LumashadeHotKeyAppLauncherFactory::CreateAppLauncher()
{
    return std::make_shared<LumashadeAppLauncher>();
}

} // namespace Zv::Tessel::Server::Services::WMI
