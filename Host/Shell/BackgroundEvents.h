// Firmware events that are shown while other commands run.
#pragma once

#include "Host/Client/EventFeed.h"
#include "Host/CommandLine/Environment.h"
#include "Host/Shell/Notices.h"

#include "Simulator/EventChannel.h"

#include <memory>
#include <string>
#include <vector>

namespace Zv::Host
{

// Registered as long as it lives.
class BackgroundEvents
{
public:
    // Returns when it listens. No ids: every event. A channel that has a name takes events for a simulated machine.
    // Throws Failure, CommandFailure for a registration that fails.
    BackgroundEvents(Environment& environment, const std::vector<int>& ids, const std::string& channel,
                     Notices& notices);

    [[nodiscard]] bool HasEnded() const { return m_feed.HasEnded(); }
    // Throws why, where it has ended because something failed.
    void Check() const;

private:
    EventFeed m_feed;
    std::unique_ptr<const Simulator::EventChannel> m_channel;
};

} // namespace Zv::Host
