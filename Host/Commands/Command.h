// A subcommand of wmihost.
#pragma once

#include "Host/Environment.h"
#include "Host/ExitCode.h"

#include <CLI/App.hpp>

namespace Zv::Host
{

// Made once, before the arguments are parsed; Run is called when the subcommand was chosen.
class Command
{
public:
    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    [[nodiscard]] virtual const char* Name() const noexcept = 0;
    [[nodiscard]] virtual const char* Description() const noexcept = 0;

    // True when any argument may be a password, so that none may be shown.
    [[nodiscard]] virtual bool TakesSecrets() const noexcept { return false; }

    // Declares arguments and options; their values are members of the subcommand.
    virtual void Declare(CLI::App& parser) = 0;

    // Throws Failure, or CommandFailure for a result code; returns an exit code where it has reported the failure.
    [[nodiscard]] virtual ExitCode Run(Environment& environment) = 0;
};

} // namespace Zv::Host
