// Starts the Lumashade app.
#pragma once

#include "Services/WMI/Hotkeys/IAppLauncher.h"

#include <string>

namespace Zv::Tessel::Server::Services::WMI
{

class LumashadeAppLauncher final : public IAppLauncher
{
public:
    LumashadeAppLauncher();

    void LaunchApp(std::wstring argument) override;
};

} // namespace Zv::Tessel::Server::Services::WMI
