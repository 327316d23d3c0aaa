#include "Host/Application.h"

#include "Host/Commands/CommandTable.h"
#include "Host/Console.h"
#include "Host/Environment.h"
#include "Host/Failure.h"
#include "Host/Interruption.h"
#include "Host/Json.h"
#include "Host/Numbers.h"
#include "Host/ResultCodes.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <memory>

namespace Zv::Host
{

namespace
{

constexpr char Description[] =
    R"(Runs commands of the module WMIService.dll: reads this machine's WMI and talks to its firmware.)";

constexpr char Examples[] = R"(Examples:
  wmihost get Win32_BaseBoard Product
  wmihost get Win32_Process Name --all
  wmihost get Win32_LogicalDisk FileSystem --where "DeviceID = 'C:'"
  wmihost text Win32_BIOS
  wmihost run 16 request.json
  wmihost events --id 20

)";

Logging::Level ParseLevel(const std::string& name)
{
    if (name == "info")
    {
        return Logging::Level::Info;
    }
    if (name == "warning")
    {
        return Logging::Level::Warning;
    }
    if (name == "error")
    {
        return Logging::Level::Error;
    }
    throw CLI::ValidationError{"--log", "must be info, warning or error, not \"" + name + "\""};
}

// The command line: global options, one subcommand with its own.
class Parser
{
public:
    Parser() : m_commands{MakeCommands()}
    {
        m_app.name("wmihost");
        m_app.require_subcommand(0, 1);           // UsageError says it better
        m_app.fallthrough();                      // global options may follow the subcommand
        m_app.allow_windows_style_options(false); // "/x" is text, not an option
        m_app.footer(std::string{Examples} + ExitCodeHelp);

        m_app.add_flag("--json", m_options.json, "Print JSON, for programs; errors too");
        m_app
            .add_option_function<std::string>(
                "--log", [this](const std::string& name) { m_options.log = ParseLevel(name); },
                "Show the module's log lines of this level and above, on standard error")
            ->type_name("info|warning|error");
        m_app
            .add_option("--module", m_options.modulePath, "The module to load (default: WMIService.dll beside wmihost)")
            ->type_name("PATH");

        m_app
            .add_option("--simulate", m_options.simulateFile, "Work on the simulated machine that this file describes")
            ->type_name("FILE");
        AddSeconds(m_app, "--timeout", m_options.timeout,
                   "Give up after so long, whatever is under way (the module itself waits without limit)");

        for (const std::unique_ptr<Command>& command : m_commands)
        {
            CLI::App* const parser = m_app.add_subcommand(command->Name(), command->Description());
            command->Declare(*parser);
            parser->callback([this, chosen = command.get()] { m_chosen = chosen; });
        }
    }

    // Throws CLI::ParseError; CLI::Success where the text of Help() is asked for.
    [[nodiscard]] Command& Parse(const std::vector<std::string>& arguments)
    {
        m_app.parse(std::vector<std::string>{arguments.rbegin(), arguments.rend()}); // CLI11 takes the last one first
        if (m_chosen == nullptr)
        {
            throw CLI::RequiredError{"a subcommand is missing", CLI::ExitCodes::RequiredError};
        }
        return *m_chosen;
    }

    // What is wrong with the command line, and what would be right.
    [[nodiscard]] std::string UsageError(const CLI::ParseError& error) const
    {
        const std::vector<std::string> left = m_app.remaining();
        if (m_app.get_subcommands().empty() && !left.empty() && !left.front().starts_with('-'))
        {
            return "there is no subcommand \"" + left.front() + "\", only" + CommandNames() + "; see wmihost --help";
        }
        const std::string program = ProgramAndCommand();
        return program + ": " + Mistake(error) + "; see " + program + " --help";
    }

    [[nodiscard]] std::string Help() const { return m_app.help(); }
    [[nodiscard]] const GlobalOptions& Options() const noexcept { return m_options; }

private:
    // The library's words, unless they would show a text that may be a password.
    [[nodiscard]] std::string Mistake(const CLI::ParseError& error) const
    {
        const bool isSecret = std::ranges::any_of(m_commands, [this](const auto& command) {
            return command->TakesSecrets() && m_app.got_subcommand(command->Name());
        });
        if (isSecret && dynamic_cast<const CLI::ConversionError*>(&error) != nullptr)
        {
            return "a flag takes no value";
        }
        if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr)
        {
            return error.what();
        }
        // Only the first, and of an option its name: what follows may belong to it.
        const std::vector<std::string> left = m_app.remaining(true);
        const std::string first = left.empty() ? "" : left.front();
        const bool isOption = first.starts_with('-');
        return isSecret && !isOption ? "an argument was not expected; it is not shown, since it may be a password"
                                     : "The following argument was not expected: " +
                                           (isOption ? first.substr(0, first.find('=')) : first);
    }

    // "wmihost get" once a subcommand has been recognised.
    [[nodiscard]] std::string ProgramAndCommand() const
    {
        const std::vector<CLI::App*> parsed = m_app.get_subcommands();
        return parsed.empty() ? "wmihost" : "wmihost " + parsed.front()->get_name();
    }

    [[nodiscard]] std::string CommandNames() const
    {
        std::string names;
        for (const std::unique_ptr<Command>& command : m_commands)
        {
            names += (names.empty() ? " " : ", ") + std::string{command->Name()};
        }
        return names;
    }

    CLI::App m_app{Description};
    GlobalOptions m_options;
    std::vector<std::unique_ptr<Command>> m_commands;
    Command* m_chosen = nullptr;
};

std::string OneLine(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    return text;
}

void Report(Console& console, const GlobalOptions& options, const Failure& failure)
{
    console.WriteErrorLine(OneLine(failure.what()));
    if (options.json)
    {
        JsonObject error;
        if (const auto* const command = dynamic_cast<const CommandFailure*>(&failure))
        {
            const ResultCodeInfo* const info = FindResultCode(command->ResultCode());
            error.Add("code", command->ResultCode());
            error.Add("hex", HexCode(command->ResultCode()));
            error.Add("name", info != nullptr ? info->name : "");
        }
        error.Add("message", failure.what());
        if (const auto* const description = dynamic_cast<const DescriptionFailure*>(&failure))
        {
            error.Add("line", description->line).Add("column", description->column);
        }
        console.WriteLine(JsonObject{}.AddJson("error", error.Text()).Text());
    }
}

ExitCode RunCommand(Command& command, const GlobalOptions& options, Console& console, const Interruption& interruption)
{
    try
    {
        Environment environment{options, console, interruption};
        return command.Run(environment);
    }
    catch (const Failure&)
    {
        interruption.Check(); // which is why it failed
        throw;
    }
}

ExitCode Run(Console& console, const std::vector<std::string>& arguments)
{
    Parser parser;
    try
    {
        Command& command = parser.Parse(arguments);
        const GlobalOptions& options = parser.Options();
        const Interruption interruption{options.timeout,
                                        [&](const Failure& failure) { Report(console, options, failure); }};
        return RunCommand(command, options, console, interruption);
    }
    catch (const CLI::Success&)
    {
        console.Write(parser.Help());
        return ExitCode::Success;
    }
    catch (const CLI::ParseError& error)
    {
        Report(console, parser.Options(), Failure{ExitCode::BadInput, parser.UsageError(error)});
        return ExitCode::BadInput;
    }
    catch (const Failure& failure)
    {
        Report(console, parser.Options(), failure);
        return failure.Code();
    }
}

} // namespace

ExitCode RunApplication(const std::vector<std::string>& arguments) noexcept
{
    try
    {
        Console console;
        try
        {
            return Run(console, arguments);
        }
        catch (const Failure& failure) // standard output is gone
        {
            console.WriteErrorLine(failure.what());
            return failure.Code();
        }
        catch (const std::exception& error)
        {
            console.WriteErrorLine(std::string{"wmihost failed: "} + error.what());
        }
    }
    catch (const std::exception&)
    {
        return ExitCode::InternalError; // nor could its report be written
    }
    return ExitCode::InternalError;
}

} // namespace Zv::Host
