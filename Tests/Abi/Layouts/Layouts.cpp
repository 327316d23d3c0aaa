// Makes the compiler lay out the classes whose layouts are checked. Never linked.

#include "Services/WMI/Hotkeys/Chimebox.h"
#include "Services/WMI/Hotkeys/EventListner.h"
#include "Services/WMI/Hotkeys/Lumashade.h"
#include "Services/WMI/WMIService.h"
#include "Services/WMI/WMIServiceContext.h"
#include "Shared/WMI/BiosWmiEvent.h"
#include "Shared/WMI/BiosWmiEventSink.h"

#include <cstddef>

namespace Zv::Tessel::Server
{

using namespace Services::WMI;

// A record is laid out where its size is asked for.
template <class... Class>
constexpr std::size_t Sizes = (sizeof(Class) + ...);

static_assert(Sizes<Services::ZVService, WMIService, WMIServiceContext, EventListner, IHotKeyListener, IAppLauncher,
                    IHotKeyAppLauncherAbstractFactory, LumashadeHotKeyListener, ChimeboxHotKeyListener,
                    LumashadeAppLauncher, ChimeboxAppLauncher, LumashadeHotKeyAppLauncherFactory,
                    ChimeboxHotKeyAppLauncherFactory, Shared::WMI::BiosWmiEvent, Shared::WMI::BiosWmiEventSink> > 0);

// The compiler prints a table that a call or the destruction of an object needs. The classes that are left out are
// final: their tables are those of their bases.
int CallSlots(Services::ZVService& service, WMIService& module, Shared::WMI::BiosWmiEventSink& sink,
              IHotKeyListener& listener, IAppLauncher& launcher, IHotKeyAppLauncherAbstractFactory& factory)
{
    delete &service;
    module.startup_task();
    sink.Release();
    launcher.LaunchApp({});
    factory.CreateAppLauncher();
    return listener.hotkeyListener() ? 1 : 0;
}

} // namespace Zv::Tessel::Server
