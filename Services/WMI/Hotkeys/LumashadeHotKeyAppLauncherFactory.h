// Makes the listener and the launcher of the Lumashade app.
#pragma once

#include "Services/WMI/Hotkeys/IHotKeyAppLauncherAbstractFactory.h"

namespace Zv::Tessel::Server::Services::WMI
{

class LumashadeHotKeyAppLauncherFactory final : public IHotKeyAppLauncherAbstractFactory
{
public:
    std::shared_ptr<IHotKeyListener> CreateHotKeyListener() override;
    std::shared_ptr<IAppLauncher> CreateAppLauncher() override;
};

} // namespace Zv::Tessel::Server::Services::WMI
