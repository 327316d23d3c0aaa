// Firmware events for the module: WMI as far as an event subscription needs it, and the events on demand.
#pragma once

#include "Tests/Abi/Host/Module.h"

namespace Abi
{

// Stands in for WMI as long as it lives. One at a time.
class FirmwareEvents
{
public:
    FirmwareEvents();
    FirmwareEvents(const FirmwareEvents&) = delete;
    FirmwareEvents& operator=(const FirmwareEvents&) = delete;
    ~FirmwareEvents();

    // Waits for the module's subscription, then delivers an event to it as WMI does, on the calling thread.
    void Raise(int eventId, int eventData);

private:
    ImportSwap m_createInstance;
    ImportSwap m_proxyBlanket;
    ImportSwap m_callAttributes;
};

} // namespace Abi
