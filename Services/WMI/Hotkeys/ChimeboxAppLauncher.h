// Starts the Chimebox app.
#pragma once

#include "Services/WMI/Hotkeys/IAppLauncher.h"

#include <string>

namespace Zv::Tessel::Server::Services::WMI
{

class ChimeboxAppLauncher final : public IAppLauncher
{
public:
    ChimeboxAppLauncher();

    void LaunchApp(std::wstring argument) override;
};

} // namespace Zv::Tessel::Server::Services::WMI
