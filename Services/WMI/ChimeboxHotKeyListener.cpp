#include "Services/WMI/ChimeboxHotKeyListener.h"

#include "Services/WMI/ChimeboxAppHotKeyEventCallback.h"
#include "Services/WMI/CompanionApp.h"

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
