#include "Services/WMI/LumashadeHotKeyListener.h"

#include "Services/WMI/CompanionApp.h"
#include "Services/WMI/LumashadeAppHotKeyEventCallback.h"

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
