// The subcommand events.
#pragma once

#include "Host/Client/EventFeed.h"
#include "Host/CommandLine/Command.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

class EventPrinter;

// Shows firmware events until it is interrupted, or what --count or --for say.
class EventsCommand : public Command
{
public:
    EventsCommand();

    [[nodiscard]] ExitCode Run(Environment& environment) override;

protected:
    // For the shell, whose help says more.
    EventsCommand(const char* details, const char* examples);

    [[nodiscard]] const std::vector<int>& Ids() const noexcept { return m_ids; }
    [[nodiscard]] const std::string& Channel() const noexcept { return m_channel; }

private:
    void Follow(Environment& environment, const EventFeed& feed, const EventPrinter& printer) const;

    std::vector<int> m_ids;
    std::optional<unsigned int> m_count;
    std::optional<std::chrono::milliseconds> m_time;
    std::string m_channel;
};

} // namespace Zv::Host
