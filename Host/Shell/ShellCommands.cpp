#include "Host/Shell/ShellCommands.h"

#include "Host/CommandLine/RunCommandLine.h"
#include "Host/CommandParts/EventOutput.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Commands/EventsCommand.h"
#include "Host/Shell/Shell.h"
#include "Host/Text/Failure.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Zv::Host
{

namespace
{

// A subcommand of wmihost that has to have the process for itself.
class RefusedCommand : public Command
{
public:
    explicit RefusedCommand(const CommandInfo& refused)
        : Command{{.name = refused.name,
                   .summary = refused.summary,
                   .details = refused.details,
                   .examples = refused.examples,
                   .isHidden = true}},
          m_why{refused.whyNotInShell}
    {
        m_arguments.Anything();
    }

    [[nodiscard]] ExitCode Run(Environment&) override
    {
        throw Failure{ExitCode::BadInput, std::string{Info().name} + " does not run in the shell: " + m_why};
    }

private:
    const char* const m_why;
};

std::string StateFrom(const std::string& text)
{
    if (text != "on" && text != "off")
    {
        throw std::invalid_argument{"\"" + text + "\" is neither on nor off"};
    }
    return text;
}

class ShellEventsCommand : public EventsCommand
{
public:
    explicit ShellEventsCommand(Shell& shell)
        : EventsCommand{R"(With "on" events are shown from now on, while other commands are typed and run, until
"events off". Without either it is the events command of wmihost, which goes on until
Ctrl-C, or what --count or --for say.)",
                        R"(events on
events on --id 20 --id 0x20001
events off
events --count 2)"},
          m_shell{shell}
    {
        m_arguments.Positional("STATE", {m_state, StateFrom}, "Whether events are shown while other commands run")
            .Type("on|off")
            .Excludes({"--count", "--for"});
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (m_state == "off")
        {
            m_shell.ShowNoEvents();
            return ExitCode::Success;
        }
        if (m_shell.ShowsEvents())
        {
            throw Failure{ExitCode::BadInput, "events are shown already; \"events off\" ends that"};
        }
        if (m_state.empty())
        {
            return EventsCommand::Run(environment);
        }
        CheckChannelUse(environment, Channel());
        m_shell.ShowEvents(environment, Ids(), Channel());
        return ExitCode::Success;
    }

private:
    Shell& m_shell;
    std::string m_state;
};

class HelpCommand : public Command
{
public:
    explicit HelpCommand(Shell& shell)
        : Command{{.name = "help",
                   .summary = "Show what can be typed here",
                   .details = "The same as --help, behind a subcommand or alone.",
                   .examples = "help\nhelp get",
                   .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines, OutputFormat::Csv}}},
          m_shell{shell}
    {
        m_arguments.Positional("SUBCOMMAND", m_about, "What to explain").Tab([this] {
            return m_shell.MakeLine()->CommandNames();
        });
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        std::vector<std::string> words{"--help"};
        if (!m_about.empty())
        {
            words.insert(words.begin(), m_about);
        }
        const std::unique_ptr<CommandLine> line = m_shell.MakeLine();
        return RunCommandLine(*line, words, environment.Output(), {environment.GetConnection(), {}});
    }

private:
    Shell& m_shell;
    std::string m_about;
};

class ExitCommand : public Command
{
public:
    explicit ExitCommand(Shell& shell)
        : Command{{.name = "exit",
                   .summary = "Leave the shell; quit does so, too",
                   .details = "Ends the session. So does the end of the input, which is Ctrl-Z and Enter.",
                   .examples = "exit\nquit",
                   .alias = "quit"}},
          m_shell{shell}
    {
    }

    [[nodiscard]] ExitCode Run(Environment&) override
    {
        m_shell.Leave();
        return ExitCode::Success;
    }

private:
    Shell& m_shell;
};

} // namespace

Commands MakeShellCommands(Shell& shell)
{
    Commands commands;
    for (std::unique_ptr<Command>& command : MakeCommands())
    {
        const CommandInfo& info = command->Info();
        if (info.name == std::string_view{"events"})
        {
            command = std::make_unique<ShellEventsCommand>(shell);
        }
        else if (info.whyNotInShell != nullptr)
        {
            command = std::make_unique<RefusedCommand>(info);
        }
        commands.push_back(std::move(command));
    }
    commands.push_back(std::make_unique<HelpCommand>(shell));
    commands.push_back(std::make_unique<ExitCommand>(shell));
    return commands;
}

} // namespace Zv::Host
