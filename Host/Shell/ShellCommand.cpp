#include "Host/Commands/CommandTable.h"
#include "Host/Shell/Shell.h"
#include "Host/Shell/ShellCommands.h"
#include "Host/Terminal/ConsoleInput.h"

namespace Zv::Host
{

namespace
{

class ShellCommand : public Command
{
public:
    ShellCommand()
        : Command{
              {.name = "shell",
               .summary = "Type subcommands, all in one session",
               .details = R"(Runs subcommands line by line, all in one session of the module. "help" says which, "exit"
or Ctrl-Z leaves. Tab completes subcommands, options, file names and this machine's class
and property names; the arrow keys bring back earlier lines. "events on" shows firmware
events as they come. Ctrl-C ends the command that runs, or takes the typed line back.

Blanks separate words, except between double quotes, where "" stands for one. Backslashes
and single quotes are themselves. A line that begins with # does nothing.

Lines from a pipe or file are run without a prompt, until the first that fails, whose exit
code it is; error lines name the line. With --keep-going all are run, and the exit code is
that of the first that failed.

The global options hold for each line, --timeout too, unless it gives its own.)",
               .examples = R"(wmihost shell
wmihost shell --simulate machine.json
wmihost shell --keep-going < commands.txt)",
               .runsLines = true,
               .whyNotInShell = "it is running already"}}
    {
        m_arguments.Flag("--keep-going", m_keepGoing, "Run the lines behind one that failed, too");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        Shell shell{environment, MakeShellCommands};
        return InputIsConsole() ? shell.Talk() : shell.RunScript(m_keepGoing);
    }

private:
    bool m_keepGoing = false;
};

} // namespace

std::unique_ptr<Command> MakeShellCommand()
{
    return std::make_unique<ShellCommand>();
}

} // namespace Zv::Host
