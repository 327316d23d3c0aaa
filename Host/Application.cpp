#include "Host/Application.h"

#include "Host/CommandLine.h"
#include "Host/Console.h"
#include "Host/Environment.h"
#include "Host/Failure.h"
#include "Host/Interruption.h"
#include "Host/Json.h"
#include "Host/ResultCodes.h"

#include <algorithm>
#include <exception>

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
    CommandLine commandLine;
    const GlobalOptions& options = commandLine.Options();
    try
    {
        Command& command = commandLine.Parse(arguments);
        console.UseColor(options.color);
        const Interruption interruption{options.timeout, [&](const Failure& failure) {
                                            Report(console, options, failure);
                                            console.RestoreTerminal();
                                        }};
        return RunCommand(command, options, console, interruption);
    }
    catch (const CLI::Success&)
    {
        console.Write(commandLine.Help());
        return ExitCode::Success;
    }
    catch (const Failure& failure)
    {
        console.UseColor(options.color); // where the command line is what failed
        Report(console, options, failure);
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
