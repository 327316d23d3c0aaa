#include "Host/CommandLine/RunCommandLine.h"

#include "Host/Explain/ResultCodes.h"
#include "Host/Terminal/Interruption.h"
#include "Host/Terminal/Table.h"
#include "Host/Text/Json.h"
#include "Host/Trace/TraceLog.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <optional>

namespace Zv::Host
{

namespace
{

std::string OneLine(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    return text;
}

// "12.345", with blanks in front that align it.
Table::Cell Milliseconds(LegTimes::Clock::duration time)
{
    char text[32];
    static_cast<void>(
        std::snprintf(text, sizeof text, "%12.3f", std::chrono::duration<double, std::milli>{time}.count()));
    Table::Cell cell{text};
    cell.json = cell.text.substr(cell.text.find_first_not_of(' '));
    return cell;
}

void ReportTimes(Console& console, const GlobalOptions& options, const LegTimes& times,
                 LegTimes::Clock::time_point begin)
{
    if (!options.time)
    {
        return;
    }
    Table table{{"leg", "milliseconds"}};
    for (const LegTimes::Taken& leg : times.Since(begin))
    {
        table.Add({leg.name + (leg.hasEnded ? "" : ", not ended"), Milliseconds(leg.time)});
    }
    table.Add({"whole", Milliseconds(LegTimes::Clock::now() - begin)});
    console.Prompt(options.PrintsJson() ? JsonObject{}.AddJson("time", table.Json()).Text() + '\n'
                                        : table.Aligned({}, console.ErrorHasColors()));
}

ExitCode Run(Command& command, Environment& environment)
{
    try
    {
        return command.Run(environment);
    }
    catch (const Failure&)
    {
        environment.GetInterruption().Check(); // which is why it failed
        throw;
    }
}

// The trace of one command line and of those that it runs: complete whatever ends it.
class TraceScope
{
public:
    TraceScope(const std::optional<Tracing::TraceOptions>& options, Console& console)
        : m_console{console},
          m_isTraced{options.has_value()}
    {
        if (options)
        {
            Tracing::TraceLog::Start(*options, console);
        }
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;
    ~TraceScope() { static_cast<void>(Ends()); }

    // Whether all of the trace could be written.
    [[nodiscard]] bool Ends() const noexcept
    {
        try
        {
            Tracing::TraceLog* const log = m_isTraced ? Tracing::TraceLog::Current() : nullptr;
            const std::string problem = log != nullptr ? log->Finish() : std::string{};
            if (!problem.empty())
            {
                m_console.WriteErrorLine(problem, Style::Error);
            }
            return problem.empty();
        }
        catch (const std::bad_alloc&)
        {
            return false; // nor is there memory to say so
        }
    }

private:
    Console& m_console;
    const bool m_isTraced;
};

} // namespace

void Report(Console& console, const GlobalOptions& options, const Failure& failure, const std::string& place)
{
    const std::string message = place + failure.what();
    console.WriteErrorLine(OneLine(message), Style::Error);
    if (options.PrintsJson())
    {
        JsonObject error;
        if (const auto* const command = dynamic_cast<const CommandFailure*>(&failure))
        {
            const ResultCodeInfo* const info = FindResultCode(command->ResultCode());
            error.Add("code", command->ResultCode());
            error.Add("hex", HexCode(command->ResultCode()));
            error.Add("name", info != nullptr ? info->name : "");
        }
        error.Add("message", message);
        if (const auto* const description = dynamic_cast<const DescriptionFailure*>(&failure))
        {
            error.Add("line", description->line).Add("column", description->column);
        }
        console.WriteLine(JsonObject{}.AddJson("error", error.Text()).Text());
    }
}

ExitCode RunCommandLine(CommandLine& line, const std::vector<std::string>& arguments, Console& console,
                        const LineContext& context)
{
    using CtrlC = Interruption::CtrlC;
    const bool isAlone = context.connection == nullptr; // otherwise the colours are chosen, and others may write
    const std::shared_ptr<LegTimes> times = isAlone ? std::make_shared<LegTimes>() : context.connection->Times();
    const LegTimes::Clock::time_point begin = LegTimes::Clock::now();
    const GlobalOptions& options = line.Options();
    ExitCode code = ExitCode::Success;
    try
    {
        Command* const chosen = line.Parse(arguments);
        if (chosen == nullptr)
        {
            console.Write(line.Help());
            return ExitCode::Success;
        }
        Command& command = *chosen;
        GlobalOptions changed = options;
        if (const auto another = command.Another(changed); another && isAlone)
        {
            return RunCommandLine(*line.With(changed), *another, console);
        }
        if (isAlone)
        {
            console.UseColor(options.color);
        }
        const TraceScope trace{isAlone ? options.trace : std::nullopt, console};
        const bool runsLines = command.Info().runsLines;
        const Interruption interruption{runsLines ? std::nullopt : options.timeout,
                                        [&](const Failure& failure) {
                                            static_cast<void>(trace.Ends());
                                            Report(console, options, failure, context.place);
                                            ReportTimes(console, options, *times, begin);
                                            console.RestoreTerminal();
                                        },
                                        runsLines ? CtrlC::DoesNothing : CtrlC::Interrupts};
        {
            Environment environment{
                options, console, interruption,
                isAlone ? std::make_shared<Connection>(options.modulePath, options.simulateFile, times, options.trace)
                        : context.connection,
                !isAlone};
            code = Run(command, environment);
        }
        if (!trace.Ends() && code == ExitCode::Success)
        {
            code = ExitCode::InputOutput;
        }
        if (code != ExitCode::Success && !context.place.empty())
        {
            console.WriteErrorLine(context.place + command.Info().name + " ended with exit code " +
                                   std::to_string(static_cast<int>(code)));
        }
    }
    catch (const Failure& failure)
    {
        if (isAlone)
        {
            console.UseColor(options.color); // where the command line is what failed
        }
        Report(console, options, failure, context.place);
        code = failure.Code();
    }
    ReportTimes(console, options, *times, begin);
    return code;
}

} // namespace Zv::Host
