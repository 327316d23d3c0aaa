#include "Host/CommandLine/CommandLine.h"

#include "Host/Text/Failure.h"
#include "Host/Text/Numbers.h"

#include <algorithm>
#include <utility>

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

ColorChoice ParseColor(const std::string& name)
{
    if (name == "auto")
    {
        return ColorChoice::Auto;
    }
    if (name == "always")
    {
        return ColorChoice::Always;
    }
    if (name == "never")
    {
        return ColorChoice::Never;
    }
    throw CLI::ValidationError{"--color", "must be auto, always or never, not \"" + name + "\""};
}

// What every subcommand's --help ends with.
std::string FooterOf(const Command& command)
{
    std::string examples = std::string{"\n"} + command.Help().examples;
    for (std::size_t end = 0; (end = examples.find('\n', end)) != std::string::npos; end += 3)
    {
        examples.insert(end + 1, "  ");
    }
    return std::string{command.Help().details} + "\n\nOutput: " + ListOf(command.Formats()) +
           "; wmihost --help has the options of all subcommands\n\nExamples:" + examples;
}

} // namespace

CommandLine::CommandLine(std::vector<std::unique_ptr<Command>> commands, GlobalOptions options)
    : m_app{Description},
      m_options{std::move(options)},
      m_commands{std::move(commands)}
{
    m_app.name("wmihost");
    m_app.require_subcommand(0, 1);           // UsageError says it better
    m_app.fallthrough();                      // global options may follow the subcommand
    m_app.allow_windows_style_options(false); // "/x" is text, not an option
    m_app.footer(std::string{Examples} + ExitCodeHelp);
    DeclareFormats();
    DeclareOptions();
    for (const std::unique_ptr<Command>& command : m_commands)
    {
        CLI::App* const parser = m_app.add_subcommand(command->Name(), command->Description());
        command->Declare(*parser);
        parser->footer(FooterOf(*command));
        if (command->IsHidden())
        {
            parser->group("");
        }
        parser->callback([this, chosen = command.get()] { m_chosen = chosen; });
    }
}

void CommandLine::DeclareFormats()
{
    const auto declare = [this](OutputFormat format, const std::string& description) {
        return m_app.add_flag_callback(NameOf(format), [this, format] { m_options.format = format; }, description);
    };
    CLI::Option* const json = declare(OutputFormat::Json, "Print JSON, for programs; errors too");
    CLI::Option* const lines =
        declare(OutputFormat::JsonLines, "Print one JSON object per line, each as it comes; errors too");
    CLI::Option* const csv = declare(OutputFormat::Csv, "Print a list as comma-separated values (RFC 4180)");
    json->excludes(lines)->excludes(csv);
    lines->excludes(csv);
}

void CommandLine::DeclareOptions()
{
    m_app
        .add_option_function<std::string>(
            "--color", [this](const std::string& name) { m_options.color = ParseColor(name); },
            "Colours: auto (the default) has them in a terminal, unless NO_COLOR is set or TERM is dumb")
        ->type_name("auto|always|never");
    m_app
        .add_option_function<std::string>(
            "--log", [this](const std::string& name) { m_options.log = ParseLevel(name); },
            "Show the module's log lines of this level and above, on standard error")
        ->type_name("info|warning|error");
    m_app.add_option("--module", m_options.modulePath, "The module to load (default: WMIService.dll beside wmihost)")
        ->type_name("PATH");
    m_app.add_option("--simulate", m_options.simulateFile, "Work on the simulated machine that this file describes")
        ->type_name("FILE");
    m_app.add_flag("--time", m_options.time, "Show what each leg of the command took, on standard error");
    AddSeconds(m_app, "--timeout", m_options.timeout,
               "Give up after so long, whatever is under way (the module itself waits without limit)");
}

Command& CommandLine::Parse(const std::vector<std::string>& arguments)
{
    try
    {
        m_app.parse(std::vector<std::string>{arguments.rbegin(), arguments.rend()}); // CLI11 takes the last one first
        if (m_chosen == nullptr)
        {
            throw CLI::RequiredError{"a subcommand is missing", CLI::ExitCodes::RequiredError};
        }
    }
    catch (const CLI::Success&)
    {
        throw;
    }
    catch (const CLI::ParseError& error)
    {
        throw Failure{ExitCode::BadInput, UsageError(error)};
    }
    CheckFormat();
    return *m_chosen;
}

void CommandLine::CheckFormat() const
{
    const std::vector<OutputFormat> formats = m_chosen->Formats();
    if (std::ranges::find(formats, m_options.format) == formats.end())
    {
        const std::string program = ProgramAndCommand();
        throw Failure{ExitCode::BadInput, program + ": its output is " + ListOf(formats) + ", not " +
                                              NameOf(m_options.format) + "; see " + program + " --help"};
    }
}

std::string CommandLine::UsageError(const CLI::ParseError& error) const
{
    const std::vector<std::string> left = m_app.remaining();
    if (m_app.get_subcommands().empty() && !left.empty() && !left.front().starts_with('-'))
    {
        std::string names;
        for (const std::string& name : CommandNames())
        {
            names += (names.empty() ? " " : ", ") + name;
        }
        return "there is no subcommand \"" + left.front() + "\", only" + names + "; see wmihost --help";
    }
    const std::string program = ProgramAndCommand();
    return program + ": " + Mistake(error) + "; see " + program + " --help";
}

// The library's words, unless they would show a text that may be a password.
std::string CommandLine::Mistake(const CLI::ParseError& error) const
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
    return isSecret && !isOption
               ? "an argument was not expected; it is not shown, since it may be a password"
               : "The following argument was not expected: " + (isOption ? first.substr(0, first.find('=')) : first);
}

// "wmihost get" once a subcommand has been recognised.
std::string CommandLine::ProgramAndCommand() const
{
    const std::vector<CLI::App*> parsed = m_app.get_subcommands();
    return parsed.empty() ? "wmihost" : "wmihost " + parsed.front()->get_name();
}

std::vector<std::string> CommandLine::CommandNames() const
{
    std::vector<std::string> names;
    for (const std::unique_ptr<Command>& command : m_commands)
    {
        if (!command->IsHidden())
        {
            names.emplace_back(command->Name());
        }
    }
    return names;
}

const Command* CommandLine::FindCommand(const std::string& name) const noexcept
{
    const auto found = std::ranges::find_if(m_commands, [&](const auto& command) { return command->Name() == name; });
    return found == m_commands.end() ? nullptr : found->get();
}

void CommandLine::Refuse(const std::string& option, const std::string& why)
{
    // Thrown, since the library does not name an option that --help leaves out.
    const auto refuse = [=](const std::string&) -> std::string {
        throw CLI::ParseError{option + ": " + why, CLI::ExitCodes::ValidationError};
    };
    m_app.get_option(option)->check(refuse)->group("");
}

} // namespace Zv::Host
