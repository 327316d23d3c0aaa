#include "Services/WMI/Hotkeys/ChimeboxHotKeyListener.h"

#include "Services/WMI/Hotkeys/ChimeboxAppHotKeyEventCallback.h"
#include "Services/WMI/Hotkeys/CompanionApp.h"

namespace Zv::Tessel::Server::Services::WMI
{

ChimeboxHotKeyListener::ChimeboxHotKeyListener()
    : supportedBoardIds(Chimebox.supportedBoardIds.begin(), Chimebox.supportedBoardIds.end()),
      hotkeyEventIds(Chimebox.hotkeyEventIds.begin(), Chimebox.hotkeyEventIds.end())
{
}

bool ChimeboxHotKeyListener::hotkeyListener()
{
    return Arm(Chimebox, supportedBoardIds, hotkeyEventIds, &ChimeboxAppHotKeyEventCallback);
}

} // namespace Zv::Tessel::Server::Services::WMI
