#include "Host/Shell/Shell.h"

#include "Host/CommandLine/RunCommandLine.h"
#include "Host/Shell/Prompt.h"
#include "Host/Shell/Words.h"
#include "Host/Terminal/ConsoleInput.h"
#include "Host/Text/Failure.h"

namespace Zv::Host
{

namespace
{

constexpr DWORD NamesLimit = 2000; // who pressed Tab waits
constexpr char Program[] = "wmihost";
constexpr std::string_view Utf8Mark = "\xef\xbb\xbf";

// Those that each line has; the log is shown by the shell itself, from its begin to its end.
GlobalOptions DefaultsOf(GlobalOptions options)
{
    options.log.reset();
    return options;
}

// So that examples of the ordinary command line can be pasted.
void DropProgram(std::vector<std::string>& words)
{
    if (!words.empty() && words.front() == Program)
    {
        words.erase(words.begin());
    }
}

// What an error line about the line begins with.
std::string Place(std::size_t number)
{
    return "line " + std::to_string(number) + ": ";
}

// What Ctrl-C ends while a line is awaited: the wait.
class InputInterruption : public Interruption
{
public:
    InputInterruption() : Interruption{std::nullopt, [](const Failure&) {}} {}
};

} // namespace

Shell::Shell(Environment& environment, MakeCommands& makeCommands)
    : m_environment{environment},
      m_makeCommands{makeCommands},
      m_console{environment.Output()},
      m_defaults{DefaultsOf(environment.Options())},
      m_notices{m_console}
{
}

ExitCode Shell::Talk()
{
    Prompt prompt{m_console, m_notices, [this](std::vector<std::string> words, const std::string& begin) {
                      DropProgram(words);
                      return CompleteLine(words, begin);
                  }};
    while (!HasToLeave())
    {
        ReportEndOfEvents();
        std::optional<std::string> line;
        try
        {
            line = prompt.Read(InputInterruption{});
        }
        catch (const Failure& failure)
        {
            m_console.Prompt("\n");
            m_notices.Release();
            if (failure.Code() != ExitCode::Interrupted)
            {
                throw;
            }
            continue; // Ctrl-C took the line back
        }
        if (!line)
        {
            break;
        }
        static_cast<void>(RunLine(*line, {}));
    }
    return ExitCode::Success;
}

ExitCode Shell::RunScript(bool keepGoing)
{
    ExitCode first = ExitCode::Success;
    while (!HasToLeave())
    {
        const std::optional<std::string> line = NextScriptLine();
        if (!line)
        {
            break;
        }
        const ExitCode code = RunLine(*line, Place(InputLinesRead()));
        first = first == ExitCode::Success ? code : first;
        if (code == ExitCode::Interrupted || (code != ExitCode::Success && !keepGoing))
        {
            break;
        }
        ReportEndOfEvents();
    }
    return first;
}

std::optional<std::string> Shell::NextScriptLine()
{
    try
    {
        std::optional<std::string> line = ReadInputLine(InputInterruption{});
        if (line && InputLinesRead() == 1 && line->starts_with(Utf8Mark))
        {
            line->erase(0, Utf8Mark.size());
        }
        return line;
    }
    catch (const Failure& failure)
    {
        if (failure.Code() == ExitCode::BadInput)
        {
            throw Failure{failure.Code(), Place(InputLinesRead()) + failure.what()};
        }
        throw;
    }
}

ExitCode Shell::RunLine(const std::string& line, const std::string& place)
{
    Words split = SplitWords(line);
    if (split.words.empty() || split.words.front().starts_with('#'))
    {
        return ExitCode::Success;
    }
    const std::unique_ptr<CommandLine> commandLine = MakeLine();
    if (split.isOpen)
    {
        Report(
            m_console, commandLine->Options(),
            Failure{ExitCode::BadInput, "a double quote has no second one; between two of them, \"\" stands for one"},
            place);
        return ExitCode::BadInput;
    }
    DropProgram(split.words);
    return RunCommandLine(*commandLine, split.words, m_console, {m_environment.GetConnection(), place});
}

std::unique_ptr<CommandLine> Shell::MakeLine()
{
    auto line = std::make_unique<CommandLine>([this] { return m_makeCommands(*this); }, m_defaults);
    for (const char* const option : {"--module", "--simulate", "--color"})
    {
        line->Refuse(option, "goes with wmihost shell itself, whose one session all lines have");
    }
    return line;
}

Completion Shell::CompleteLine(const std::vector<std::string>& words, const std::string& begin)
{
    if (!m_names)
    {
        try
        {
            static_cast<void>(m_environment.LoadedModule()); // with which the simulated machine comes
        }
        catch (const Failure&)
        {
            return {}; // which the next command will say
        }
        Simulation* const simulation = m_environment.Simulated();
        m_names.emplace(simulation == nullptr ? nullptr : &simulation->Machine(), NamesLimit);
    }
    return Complete(*MakeLine(), words, begin, m_names->Source());
}

bool Shell::HasToLeave() const
{
    return m_leaves || m_environment.GetInterruption().Happened();
}

bool Shell::ShowsEvents()
{
    ReportEndOfEvents();
    return m_events != nullptr;
}

void Shell::ShowEvents(Environment& environment, const std::vector<int>& ids, const std::string& channel)
{
    m_events = std::make_unique<BackgroundEvents>(environment, ids, channel, m_notices);
}

// The machine may end a registration, and so may "run 8".
void Shell::ReportEndOfEvents()
{
    if (m_events == nullptr || !m_events->HasEnded())
    {
        return;
    }
    const std::unique_ptr<const BackgroundEvents> ended = std::move(m_events);
    std::string why;
    try
    {
        ended->Check();
    }
    catch (const Failure& failure)
    {
        why = std::string{": "} + failure.what();
    }
    m_console.WriteErrorLine("no more events are shown: the registration has ended" + why);
}

} // namespace Zv::Host
