#include "Host/CommandParts/ConsoleUser.h"
#include "Host/CommandParts/StartedProcessText.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Platform/Windows/Utf8.h"

namespace Zv::Host
{

namespace
{

class LaunchCommand : public Command
{
public:
    LaunchCommand()
        : Command{{.name = "launch",
                   .summary = "Start a packaged app for the console user",
                   .details = R"(Starts the program as the user who is signed in at the console, with that user's
environment, in the package's folder. As the module's own launches do, it gives the
program the arguments alone as its command line, behind a blank, or without arguments
its path.

On a simulated machine the launch is shown and not made, unless --launch-for-real is
given and the package of the description names a program ("executable").)",
                   .examples = R"(wmihost launch Lumashade.exe 7B3E90C4.Lumashade_k2x7m4qp9wt1d
wmihost launch ChimeboxUWP.exe 7B3E90C4.Chimeboxes_k2x7m4qp9wt1d "21#0#24-03-05 14:07:09")"}}
    {
        m_arguments.Positional("ALIAS", m_alias, "File name of the app's execution alias").Required();
        m_arguments.Positional("FAMILY", m_family, "Package family name").Required();
        m_arguments.Positional("ARGUMENTS", m_appArguments, "Arguments, as one text");
        m_arguments.Flag("--launch-for-real", m_forReal, "Start the program that a simulated machine's package names");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (m_forReal && environment.Options().simulateFile.empty())
        {
            throw Failure{ExitCode::BadInput,
                          "wmihost launch: --launch-for-real goes with --simulate; see wmihost launch --help"};
        }
        environment.SetUserOptions({.launchForReal = m_forReal});
        const ConsoleUser user{environment};
        if (!user.Launcher().Run(ToUtf16(m_alias), ToUtf16(m_family), ToUtf16(m_appArguments)))
        {
            user.Fail(m_alias + " of " + m_family + " was not started");
        }
        Console& output = environment.Output();
        const bool json = environment.Options().PrintsJson();
        if (Simulation* const simulation = environment.Simulated())
        {
            for (const Simulator::StartedProcess& started : simulation->User().Started())
            {
                json ? output.WriteLine(JsonOf(started)) : output.Write(TextOf(started));
            }
        }
        else
        {
            output.WriteLine(json ? "{}" : "started");
        }
        return ExitCode::Success;
    }

private:
    std::string m_alias;
    std::string m_family;
    std::string m_appArguments;
    bool m_forReal = false;
};

} // namespace

std::unique_ptr<Command> MakeLaunchCommand()
{
    return std::make_unique<LaunchCommand>();
}

} // namespace Zv::Host
