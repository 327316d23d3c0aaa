// Arms the companion apps' hotkeys.
#pragma once

namespace Zv::Tessel::Server::Services::WMI
{

// Called by the service's start-up task. The listeners live until the process ends; a second call arms nothing.
// Failures are logged only.
void SetupHotkeyEventAppLauncher();

} // namespace Zv::Tessel::Server::Services::WMI
