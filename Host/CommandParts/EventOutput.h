// What the subcommands have in common that show firmware events.
#pragma once

#include "Host/Client/EventFeed.h"
#include "Host/CommandLine/Environment.h"

#include "Simulator/EventChannel.h"

#include <memory>
#include <string>
#include <string_view>

namespace Zv::Host
{

// The line for an event, from the text that the module gives, with the local time. Throws Failure(InternalError).
[[nodiscard]] std::string EventLine(std::string_view text, bool json);

// Throws Failure(BadInput) when a channel is named and there is no simulated machine for it.
void CheckChannelUse(const Environment& environment, const std::string& channel);

// Takes events for the simulated machine from other processes; null without a name. Throws Failure(InputOutput)
// when the channel is taken.
[[nodiscard]] std::unique_ptr<const Simulator::EventChannel> OpenChannel(Environment& environment,
                                                                         const std::string& name);

// Throws CommandFailure for a registration that has failed.
void ThrowIfFailed(const EventFeed& feed);

} // namespace Zv::Host
