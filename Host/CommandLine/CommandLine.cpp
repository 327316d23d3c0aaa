#include "Host/CommandLine/CommandLine.h"

#include "Host/CommandLine/Parser.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Numbers.h"

#include <algorithm>
#include <iterator>
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

Logging::Level LevelFrom(const std::string& text)
{
    using Logging::Level;
    return ChoiceFrom<Level>(text, {{"info", Level::Info}, {"warning", Level::Warning}, {"error", Level::Error}});
}

ColorChoice ColorFrom(const std::string& text)
{
    return ChoiceFrom<ColorChoice>(
        text, {{"auto", ColorChoice::Auto}, {"always", ColorChoice::Always}, {"never", ColorChoice::Never}});
}

// What every subcommand's --help ends with.
std::string FooterOf(const CommandInfo& info)
{
    std::string examples = std::string{"\n"} + info.examples;
    for (std::size_t end = 0; (end = examples.find('\n', end)) != std::string::npos; end += 3)
    {
        examples.insert(end + 1, "  ");
    }
    return std::string{info.details} + "\n\nOutput: " + ListOf(info.formats) +
           "; wmihost --help has the options of all subcommands\n\nExamples:" + examples;
}

Syntax SyntaxOf(const Command& command)
{
    const CommandInfo& info = command.Info();
    return {info.name, info.alias, info.summary, FooterOf(info), &command.Takes(), info.isHidden};
}

std::string BadLine(const std::string& program, const std::string& what)
{
    return program + ": " + what + "; see " + program + " --help";
}

} // namespace

CommandLine::CommandLine(std::function<Commands()> makeCommands, GlobalOptions options)
    : m_makeCommands{std::move(makeCommands)},
      m_commands{m_makeCommands()},
      m_options{std::move(options)}
{
    DeclareFormats();
    DeclareOptions();
}

void CommandLine::DeclareFormats()
{
    const std::string json = NameOf(OutputFormat::Json);
    const std::string lines = NameOf(OutputFormat::JsonLines);
    const std::string csv = NameOf(OutputFormat::Csv);
    m_arguments.Flag(json, m_json, "Print JSON, for programs; errors too").Excludes({lines, csv});
    m_arguments.Flag(lines, m_jsonLines, "Print one JSON object per line, each as it comes; errors too")
        .Excludes({csv});
    m_arguments.Flag(csv, m_csv, "Print a list as comma-separated values (RFC 4180)");
}

void CommandLine::DeclareOptions()
{
    m_arguments
        .Option("--color", {m_options.color, ColorFrom},
                "Colours: auto (the default) has them in a terminal, unless NO_COLOR is set or TERM is dumb")
        .Type("auto|always|never");
    m_arguments
        .Option("--log", {m_options.log, LevelFrom},
                "Show the module's log lines of this level and above, on standard error")
        .Type("info|warning|error");
    m_arguments.Option("--module", m_options.modulePath, "The module to load (default: WMIService.dll beside wmihost)")
        .Type("PATH");
    m_arguments.Option("--simulate", m_options.simulateFile, "Work on the simulated machine that this file describes")
        .Type("FILE");
    m_arguments.Flag("--time", m_options.time, "Show what each leg of the command took, on standard error");
    m_arguments
        .Option("--timeout", {m_options.timeout, SecondsFrom},
                "Give up after so long, whatever is under way (the module itself waits without limit)")
        .Type("SECONDS");
}

Command* CommandLine::Parse(const std::vector<std::string>& words)
{
    std::vector<Syntax> commands;
    std::ranges::transform(m_commands, std::back_inserter(commands),
                           [](const auto& command) { return SyntaxOf(*command); });
    Reading reading = ReadCommandLine(
        {"wmihost", "", Description, std::string{Examples} + ExitCodeHelp, &m_arguments, false}, commands, words);
    TakeFormat();
    if (reading.help)
    {
        m_help = *std::move(reading.help);
        return nullptr;
    }
    Command* const command = FindCommand(reading.command);
    const std::string program = command == nullptr ? "wmihost" : "wmihost " + reading.command;
    if (!reading.mistake && command == nullptr)
    {
        reading.mistake = Mistake{.text = "a subcommand is missing"};
    }
    if (reading.mistake)
    {
        throw Failure{ExitCode::BadInput, UsageError(program, command, *reading.mistake)};
    }
    CheckFormat(program, *command);
    return command;
}

// A mistake elsewhere is reported in the format, too.
void CommandLine::TakeFormat()
{
    for (const auto& [isGiven, format] :
         {std::pair{m_json, OutputFormat::Json}, {m_jsonLines, OutputFormat::JsonLines}, {m_csv, OutputFormat::Csv}})
    {
        m_options.format = isGiven ? format : m_options.format;
    }
}

void CommandLine::CheckFormat(const std::string& program, const Command& command) const
{
    const std::vector<OutputFormat>& formats = command.Info().formats;
    if (std::ranges::find(formats, m_options.format) == formats.end())
    {
        throw Failure{ExitCode::BadInput,
                      BadLine(program, "its output is " + ListOf(formats) + ", not " + NameOf(m_options.format))};
    }
}

std::string CommandLine::UsageError(const std::string& program, const Command* command, const Mistake& mistake) const
{
    const std::string left = mistake.firstLeft.value_or("");
    const bool leftIsOption = left.starts_with('-');
    if (command == nullptr && mistake.firstLeft && !leftIsOption)
    {
        std::string names;
        for (const std::string& name : CommandNames())
        {
            names += (names.empty() ? " " : ", ") + name;
        }
        return "there is no subcommand \"" + left + "\", only" + names + "; see wmihost --help";
    }
    // The library's words, unless they would show a text that may be a password.
    const bool isSecret = command != nullptr && command->Info().takesSecrets;
    if (isSecret && mistake.kind == Mistake::Kind::NotConvertible)
    {
        return BadLine(program, "a flag takes no value");
    }
    if (mistake.kind != Mistake::Kind::Unexpected)
    {
        return BadLine(program, mistake.text);
    }
    // Only the first, and of an option its name: what follows may belong to it.
    return BadLine(program, isSecret && !leftIsOption
                                ? "an argument was not expected; it is not shown, since it may be a password"
                                : "The following argument was not expected: " +
                                      (leftIsOption ? left.substr(0, left.find('=')) : left));
}

std::vector<std::string> CommandLine::CommandNames() const
{
    std::vector<std::string> names;
    for (const std::unique_ptr<Command>& command : m_commands)
    {
        if (!command->Info().isHidden)
        {
            names.emplace_back(command->Info().name);
        }
    }
    return names;
}

Command* CommandLine::FindCommand(const std::string& name) const noexcept
{
    const auto found = std::ranges::find_if(m_commands, [&](const auto& command) {
        const CommandInfo& info = command->Info();
        return !name.empty() && (name == info.name || name == info.alias);
    });
    return found == m_commands.end() ? nullptr : found->get();
}

} // namespace Zv::Host
