// A subcommand of wmihost.
#pragma once

#include "Host/CommandLine/Arguments.h"
#include "Host/CommandLine/Environment.h"
#include "Host/Text/ExitCode.h"
#include "Host/Text/OutputFormat.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

struct CommandInfo
{
    const char* name = nullptr;
    const char* summary = nullptr;
    const char* details = nullptr;                                             // what --help says below the options
    const char* examples = nullptr;                                            // one per line, at least two
    std::vector<OutputFormat> formats{OutputFormat::Text, OutputFormat::Json}; // Run is called with one of these only
    const char* alias = "";
    bool isHidden = false;     // nobody is meant to type it: --help and error lines leave it out
    bool runsLines = false;    // it runs other command lines, each of which has a time-out and a Ctrl-C of its own
    bool takesSecrets = false; // any argument may be a password, so that none may be shown
    const char* whyNotInShell = nullptr; // why it cannot share a process and a session with other command lines
};

// Made once, before the arguments are parsed; Run is called when the subcommand was chosen. The constructor of each
// declares what it takes; the values are members of the subcommand.
class Command
{
public:
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    [[nodiscard]] const CommandInfo& Info() const noexcept { return m_info; }
    [[nodiscard]] const Arguments& Takes() const noexcept { return m_arguments; }

    // The arguments of another subcommand that is to run in the place of this one, with options that it has changed;
    // nothing for one that runs itself. Throws Failure(BadInput).
    [[nodiscard]] virtual std::optional<std::vector<std::string>> Another(GlobalOptions&) const { return std::nullopt; }

    // Throws Failure, or CommandFailure for a result code; returns an exit code where it has reported the failure.
    [[nodiscard]] virtual ExitCode Run(Environment& environment) = 0;

protected:
    explicit Command(CommandInfo info) : m_info{std::move(info)} {}

    Arguments m_arguments;

private:
    const CommandInfo m_info;
};

using Commands = std::vector<std::unique_ptr<Command>>;

} // namespace Zv::Host
