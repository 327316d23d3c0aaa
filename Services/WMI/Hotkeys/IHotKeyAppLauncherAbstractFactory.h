// Makes what belongs to one companion app.
#pragma once

#include "Services/WMI/Hotkeys/IAppLauncher.h"
#include "Services/WMI/Hotkeys/IHotKeyListener.h"

#include <memory>

namespace Zv::Tessel::Server::Services::WMI
{

class IHotKeyAppLauncherAbstractFactory
{
public:
    virtual std::shared_ptr<IHotKeyListener> CreateHotKeyListener() = 0;
    virtual std::shared_ptr<IAppLauncher> CreateAppLauncher() = 0;

protected:
    IHotKeyAppLauncherAbstractFactory() = default;
    IHotKeyAppLauncherAbstractFactory(const IHotKeyAppLauncherAbstractFactory&) = default;
    IHotKeyAppLauncherAbstractFactory& operator=(const IHotKeyAppLauncherAbstractFactory&) = default;
    ~IHotKeyAppLauncherAbstractFactory() = default;
};

} // namespace Zv::Tessel::Server::Services::WMI
