// Listens for the hotkeys of the Lumashade app.
#pragma once

#include "Services/WMI/Hotkeys/IHotKeyListener.h"

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

} // namespace Zv::Tessel::Server::Services::WMI
