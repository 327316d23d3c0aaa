// The Lumashade companion app: what listens for its hotkeys, what decides about an event, what starts it.
#pragma once

#include "Services/WMI/Hotkeys/IHotKeyAppLauncherAbstractFactory.h"

#include <set>
#include <string>
#include <vector>

namespace Zv::Tessel::Server::Services::WMI
{

class LumashadeHotKeyListener final : public IHotKeyListener
{
public:
    LumashadeHotKeyListener();

    bool hotkeyListener() override;

private:
    std::set<std::wstring> supportedBoardIds; // empty: every board
    std::vector<int> hotkeyEventIds;
};

// Progress callback of the app's subscriptions: starts the app when the event asks for it. eventText is the event's
// JSON text. Runs on the thread of the subscription; throws nothing.
void LumashadeAppHotKeyEventCallback(wchar_t* eventText);

class LumashadeAppLauncher final : public IAppLauncher
{
public:
    LumashadeAppLauncher();

    void LaunchApp(std::wstring argument) override;
};

class LumashadeHotKeyAppLauncherFactory final : public IHotKeyAppLauncherAbstractFactory
{
public:
    std::shared_ptr<IHotKeyListener> CreateHotKeyListener() override;
    std::shared_ptr<IAppLauncher> CreateAppLauncher() override;
};

} // namespace Zv::Tessel::Server::Services::WMI
