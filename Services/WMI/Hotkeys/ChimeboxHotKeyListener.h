// Listens for the hotkeys of the Chimebox app.
#pragma once

#include "Services/WMI/Hotkeys/IHotKeyListener.h"

#include <set>
#include <string>
#include <vector>

namespace Zv::Tessel::Server::Services::WMI
{

class ChimeboxHotKeyListener final : public IHotKeyListener
{
public:
    ChimeboxHotKeyListener();

    bool hotkeyListener() override;

private:
    std::set<std::wstring> supportedBoardIds; // empty: every board
    std::vector<int> hotkeyEventIds;
};

} // namespace Zv::Tessel::Server::Services::WMI
