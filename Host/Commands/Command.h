// A subcommand of wmihost.
#pragma once

#include "Host/Environment.h"
#include "Host/ExitCode.h"

#include "Host/OutputFormat.h"

#include <CLI/App.hpp>

#include <vector>

namespace Zv::Host
{

// What --help says below the options.
struct HelpText
{
    const char* details;
    const char* examples; // one per line, at least two
};

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
    [[nodiscard]] virtual HelpText Help() const noexcept = 0;

    // Run is called with one of these only.
    [[nodiscard]] virtual std::vector<OutputFormat> Formats() const { return {OutputFormat::Text, OutputFormat::Json}; }

    // True when any argument may be a password, so that none may be shown.
    [[nodiscard]] virtual bool TakesSecrets() const noexcept { return false; }

    // Declares arguments and options; their values are members of the subcommand.
    virtual void Declare(CLI::App& parser) = 0;

    // Throws Failure, or CommandFailure for a result code; returns an exit code where it has reported the failure.
    [[nodiscard]] virtual ExitCode Run(Environment& environment) = 0;
};

} // namespace Zv::Host
