// What the firmware commands have in common: raw commands, settings, defaults.
#pragma once

#include "Host/Client/Session.h"
#include "Host/CommandLine/Environment.h"
#include "Host/Text/ExitCode.h"
#include "Host/Text/Json.h"

#include <span>
#include <string>
#include <string_view>

namespace Zv::Host
{

// A part of the firmware that WMI gives access to, on machines that have it.
struct FirmwareInterface
{
    const char* absence;                     // says that this machine does not have it
    std::span<const std::string_view> signs; // failed calls that show it
};

[[nodiscard]] const FirmwareInterface& FirmwareCommands() noexcept;
[[nodiscard]] const FirmwareInterface& FirmwareSettings() noexcept;

// The response of a command that succeeded; it has the member "result". Throws CommandFailure, in plain words where
// the machine lacks the interface. The subject names what was asked for.
[[nodiscard]] JsonDocument ParseFirmwareReply(const Reply& reply, const FirmwareInterface& firmware,
                                              const std::string& subject);

struct FirmwareChange
{
    std::string subject; // what is changed, for error lines
    std::string done;    // that it was
};

// Runs a command that changes settings and reports the firmware's verdict. Throws as ParseFirmwareReply does.
[[nodiscard]] ExitCode ChangeFirmware(Environment& environment, Zv::Tessel::Server::Services::FunctionNumber function,
                                      const JsonObject& request, const FirmwareChange& change);

} // namespace Zv::Host
