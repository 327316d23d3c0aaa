// Makes the listener and the launcher of the Chimebox app.
#pragma once

#include "Services/WMI/Hotkeys/IHotKeyAppLauncherAbstractFactory.h"

namespace Zv::Tessel::Server::Services::WMI
{

class ChimeboxHotKeyAppLauncherFactory final : public IHotKeyAppLauncherAbstractFactory
{
public:
    std::shared_ptr<IHotKeyListener> CreateHotKeyListener() override;
    std::shared_ptr<IAppLauncher> CreateAppLauncher() override;
};

} // namespace Zv::Tessel::Server::Services::WMI
