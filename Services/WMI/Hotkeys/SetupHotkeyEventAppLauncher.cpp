#include "Services/WMI/SetupHotkeyEventAppLauncher.h"

#include "Services/WMI/Hotkeys/Chimebox.h"
#include "Services/WMI/Hotkeys/Lumashade.h"
#include "Shared/Log/TextLog.h"

#include <memory>

namespace Zv::Tessel::Server::Services::WMI
{

namespace
{

void Start(IHotKeyListener& listener, Logging::TraceLogger* logger)
{
    listener.SetLogger(logger);
    listener.hotkeyListener(); // says in the log what came of it
}

} // namespace

void SetupHotkeyEventAppLauncher()
{
    Logging::TraceLogger* const logger = Logging::LogManager::GetLogger();
    const Shared::TextLog log{logger};
    try
    {
        const auto lumashadeFactory = std::make_shared<LumashadeHotKeyAppLauncherFactory>();
        static const std::shared_ptr<IHotKeyListener> lumashadeListener = lumashadeFactory->CreateHotKeyListener();
        if (lumashadeListener != nullptr && !lumashadeListener->IsRunning())
        {
            Start(*lumashadeListener, logger);
        }
        else
        {
            log.Info(L"SetupHotkeyEventAppLauncher() failed to create instance of listener/launcher for Lumashade.");
        }

        const auto chimeboxFactory = std::make_shared<ChimeboxHotKeyAppLauncherFactory>();
        static const std::shared_ptr<IHotKeyListener> chimeboxListener = chimeboxFactory->CreateHotKeyListener();
        // By contract it is the factory that is looked at here.
        if (chimeboxFactory != nullptr && !chimeboxListener->IsRunning())
        {
            Start(*chimeboxListener, logger);
        }
        else
        {
            log.Info(L"SetupHotkeyEventAppLauncher() failed to create instance of listener/launcher for Chimebox App.");
        }
    }
    catch (...)
    {
        log.Error(L"SetupHotkeyEventAppLauncher() error occured during setting up hotkey app launcher for Lumashade "
                  L"and Chimebox.");
    }
}

} // namespace Zv::Tessel::Server::Services::WMI
