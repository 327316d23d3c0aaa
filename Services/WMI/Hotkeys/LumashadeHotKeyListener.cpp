#include "Services/WMI/Hotkeys/LumashadeHotKeyListener.h"

#include "Services/WMI/Hotkeys/CompanionApp.h"
#include "Services/WMI/Hotkeys/LumashadeAppHotKeyEventCallback.h"

namespace Zv::Tessel::Server::Services::WMI
{

LumashadeHotKeyListener::LumashadeHotKeyListener()
    : supportedBoardIds(Lumashade.supportedBoardIds.begin(), Lumashade.supportedBoardIds.end()),
      hotkeyEventIds(Lumashade.hotkeyEventIds.begin(), Lumashade.hotkeyEventIds.end())
{
}

bool LumashadeHotKeyListener::hotkeyListener()
{
    return Arm(Lumashade, supportedBoardIds, hotkeyEventIds, &LumashadeAppHotKeyEventCallback);
}

} // namespace Zv::Tessel::Server::Services::WMI
