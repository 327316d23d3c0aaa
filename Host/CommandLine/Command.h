// A subcommand of wmihost.
#pragma once

#include "Host/CommandLine/Environment.h"
#include "Host/Text/ExitCode.h"

#include "Host/Text/OutputFormat.h"

#include <CLI/App.hpp>

#include <optional>
#include <string>
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

    // True where nobody is meant to type it: --help and error lines leave it out.
    [[nodiscard]] virtual bool IsHidden() const noexcept { return false; }

    // True when it runs other command lines, each of which has a time-out and a Ctrl-C of its own.
    [[nodiscard]] virtual bool RunsLines() const noexcept { return false; }

    // Why it cannot share a process and a session with other command lines; null when it can.
    [[nodiscard]] virtual const char* WhyNotInShell() const noexcept { return nullptr; }

    // What Tab offers for the argument of this name, besides what its declaration says.
    [[nodiscard]] virtual std::vector<std::string> ValuesOf(const std::string& /*argument*/) const { return {}; }

    // True when any argument may be a password, so that none may be shown.
    [[nodiscard]] virtual bool TakesSecrets() const noexcept { return false; }

    // Declares arguments and options; their values are members of the subcommand.
    virtual void Declare(CLI::App& parser) = 0;

    // The arguments of another subcommand that is to run in the place of this one, with options that it has changed;
    // nothing for one that runs itself. Throws Failure(BadInput).
    [[nodiscard]] virtual std::optional<std::vector<std::string>> Another(GlobalOptions&) const { return std::nullopt; }

    // Throws Failure, or CommandFailure for a result code; returns an exit code where it has reported the failure.
    [[nodiscard]] virtual ExitCode Run(Environment& environment) = 0;
};

} // namespace Zv::Host
