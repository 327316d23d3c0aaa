// What a firmware event means to the Lumashade app.
#pragma once

namespace Zv::Tessel::Server::Services::WMI
{

// Progress callback of the app's subscriptions: starts the app when the event asks for it. eventText is the event's
// JSON text. Runs on the thread of the subscription; throws nothing.
void LumashadeAppHotKeyEventCallback(wchar_t* eventText);

} // namespace Zv::Tessel::Server::Services::WMI
