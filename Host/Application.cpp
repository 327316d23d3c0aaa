#include "Host/Application.h"

#include "Host/CommandLine/RunCommandLine.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Terminal/Console.h"
#include "Host/Text/Failure.h"

#include <exception>

namespace Zv::Host
{

ExitCode RunApplication(const std::vector<std::string>& arguments) noexcept
{
    try
    {
        Console console;
        try
        {
            CommandLine line{MakeCommands};
            return RunCommandLine(line, arguments, console);
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
