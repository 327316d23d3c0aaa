#include "Host/Shell/ShellCommands.h"

#include "Host/CommandLine/RunCommandLine.h"
#include "Host/CommandParts/EventOutput.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Shell/Shell.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Numbers.h"

#include <string>
#include <utility>

namespace Zv::Host
{

namespace
{

// A subcommand of wmihost that has to have the process for itself.
class RefusedCommand : public Command
{
public:
    explicit RefusedCommand(std::unique_ptr<Command> command) noexcept : m_command{std::move(command)} {}

    [[nodiscard]] const char* Name() const noexcept override { return m_command->Name(); }
    [[nodiscard]] const char* Description() const noexcept override { return m_command->Description(); }
    [[nodiscard]] HelpText Help() const noexcept override { return m_command->Help(); }
    [[nodiscard]] bool IsHidden() const noexcept override { return true; }
    void Declare(CLI::App& parser) override { parser.fallthrough(false)->allow_extras(); }

    [[nodiscard]] ExitCode Run(Environment&) override
    {
        throw Failure{ExitCode::BadInput,
                      std::string{Name()} + " does not run in the shell: " + m_command->WhyNotInShell()};
    }

private:
    std::unique_ptr<Command> m_command;
};

constexpr char EventsDetails[] =
    R"(With "on" events are shown from now on, while other commands are typed and run, until
"events off". Without either it is the events command of wmihost, which goes on until
Ctrl-C, or what --count or --for say.)";

constexpr char EventsExamples[] = R"(events on
events on --id 20 --id 0x20001
events off
events --count 2)";

std::string CheckState(const std::string& text)
{
    return text == "on" || text == "off" ? std::string{} : "\"" + text + "\" is neither on nor off";
}

class ShellEventsCommand : public Command
{
public:
    explicit ShellEventsCommand(Shell& shell) : m_shell{shell} {}

    [[nodiscard]] const char* Name() const noexcept override { return m_waiting->Name(); }
    [[nodiscard]] const char* Description() const noexcept override { return m_waiting->Description(); }
    [[nodiscard]] HelpText Help() const noexcept override { return {EventsDetails, EventsExamples}; }
    [[nodiscard]] std::vector<OutputFormat> Formats() const override { return m_waiting->Formats(); }

    void Declare(CLI::App& parser) override
    {
        m_waiting->Declare(parser);
        parser.add_option("STATE", m_state, "Whether events are shown while other commands run")
            ->type_name("on|off")
            ->check(CheckState)
            ->excludes(parser.get_option("--count"))
            ->excludes(parser.get_option("--for"));
        m_ids = parser.get_option("--id");
        m_channel = parser.get_option("--channel");
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
            return m_waiting->Run(environment);
        }
        const std::string channel = m_channel->count() == 0 ? "" : m_channel->results().front();
        CheckChannelUse(environment, channel);
        std::vector<int> ids;
        for (const std::string& id : m_ids->results())
        {
            ids.push_back(ParseSigned(id).value_or(0));
        }
        m_shell.ShowEvents(environment, ids, channel);
        return ExitCode::Success;
    }

private:
    Shell& m_shell;
    const std::unique_ptr<Command> m_waiting = MakeEventsCommand();
    std::string m_state;
    const CLI::Option* m_ids = nullptr;
    const CLI::Option* m_channel = nullptr;
};

class HelpCommand : public Command
{
public:
    explicit HelpCommand(Shell& shell) noexcept : m_shell{shell} {}

    [[nodiscard]] const char* Name() const noexcept override { return "help"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Show what can be typed here"; }
    [[nodiscard]] HelpText Help() const noexcept override
    {
        return {"The same as --help, behind a subcommand or alone.", "help\nhelp get"};
    }
    [[nodiscard]] std::vector<OutputFormat> Formats() const override
    {
        return {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines, OutputFormat::Csv};
    }
    [[nodiscard]] std::vector<std::string> ValuesOf(const std::string&) const override
    {
        return m_shell.MakeLine()->CommandNames();
    }

    void Declare(CLI::App& parser) override { parser.add_option("SUBCOMMAND", m_about, "What to explain"); }

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
    explicit ExitCommand(Shell& shell) noexcept : m_shell{shell} {}

    [[nodiscard]] const char* Name() const noexcept override { return "exit"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Leave the shell; quit does so, too"; }
    [[nodiscard]] HelpText Help() const noexcept override
    {
        return {"Ends the session. So does the end of the input, which is Ctrl-Z and Enter.", "exit\nquit"};
    }
    void Declare(CLI::App& parser) override { parser.alias("quit"); }

    [[nodiscard]] ExitCode Run(Environment&) override
    {
        m_shell.Leave();
        return ExitCode::Success;
    }

private:
    Shell& m_shell;
};

} // namespace

std::vector<std::unique_ptr<Command>> MakeShellCommands(Shell& shell)
{
    std::vector<std::unique_ptr<Command>> commands;
    for (std::unique_ptr<Command>& command : MakeCommands())
    {
        if (command->Name() == std::string_view{"events"})
        {
            command = std::make_unique<ShellEventsCommand>(shell);
        }
        else if (command->WhyNotInShell() != nullptr)
        {
            command = std::make_unique<RefusedCommand>(std::move(command));
        }
        commands.push_back(std::move(command));
    }
    commands.push_back(std::make_unique<HelpCommand>(shell));
    commands.push_back(std::make_unique<ExitCommand>(shell));
    return commands;
}

} // namespace Zv::Host
