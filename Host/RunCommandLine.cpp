#include "Host/RunCommandLine.h"

#include "Host/Failure.h"
#include "Host/Interruption.h"
#include "Host/Json.h"
#include "Host/ResultCodes.h"

#include <algorithm>

namespace Zv::Host
{

namespace
{

std::string OneLine(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    return text;
}

void Report(Console& console, const GlobalOptions& options, const Failure& failure)
{
    console.WriteErrorLine(OneLine(failure.what()), Style::Error);
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
        error.Add("message", failure.what());
        if (const auto* const description = dynamic_cast<const DescriptionFailure*>(&failure))
        {
            error.Add("line", description->line).Add("column", description->column);
        }
        console.WriteLine(JsonObject{}.AddJson("error", error.Text()).Text());
    }
}

void ReportTimes(Console& console, const GlobalOptions& options, const LegTimes& times,
                 LegTimes::Clock::time_point begin)
{
    if (!options.time)
    {
        return;
    }
    const Table table = times.Since(begin);
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

} // namespace

ExitCode RunCommandLine(CommandLine& line, const std::vector<std::string>& arguments, Console& console,
                        const std::shared_ptr<Connection>& connection)
{
    const std::shared_ptr<LegTimes> times = connection ? connection->Times() : std::make_shared<LegTimes>();
    const LegTimes::Clock::time_point begin = LegTimes::Clock::now();
    const GlobalOptions& options = line.Options();
    ExitCode code = ExitCode::Success;
    try
    {
        Command& command = line.Parse(arguments);
        console.UseColor(options.color);
        const Interruption interruption{options.timeout, [&](const Failure& failure) {
                                            Report(console, options, failure);
                                            ReportTimes(console, options, *times, begin);
                                            console.RestoreTerminal();
                                        }};
        Environment environment{
            options, console, interruption,
            connection ? connection : std::make_shared<Connection>(options.modulePath, options.simulateFile, times)};
        code = Run(command, environment);
    }
    catch (const CLI::Success&)
    {
        console.Write(line.Help());
        return ExitCode::Success;
    }
    catch (const Failure& failure)
    {
        console.UseColor(options.color); // where the command line is what failed
        Report(console, options, failure);
        code = failure.Code();
    }
    ReportTimes(console, options, *times, begin);
    return code;
}

} // namespace Zv::Host
