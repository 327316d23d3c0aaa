#include "Host/Commands/CommandTable.h"
#include "Host/Completion/Scripts.h"

namespace Zv::Host
{

namespace
{

constexpr char Bash[] = "bash";
constexpr char PowerShell[] = "powershell";

std::string ShellFrom(const std::string& text)
{
    if (text != Bash && text != PowerShell)
    {
        throw std::invalid_argument{"\"" + text + "\" is neither bash nor powershell"};
    }
    return text;
}

class CompletionCommand : public Command
{
public:
    CompletionCommand()
        : Command{
              {.name = "completion",
               .summary = "Print a script for Tab completion",
               .details = R"(Prints a script that makes Tab complete subcommands, options, their values, file names, and
the class and property names of this machine, or of the one behind --simulate.

For ever: let ~/.bashrc say "source ~/.wmihost.bash", and $PROFILE ". FOLDER\wmihost.ps1".)",
               .examples = R"(wmihost completion bash > ~/.wmihost.bash
wmihost completion powershell > wmihost.ps1)",
               .formats = {OutputFormat::Text}}}
    {
        m_arguments.Positional("SHELL", {m_shell, ShellFrom}, "The shell that is to complete")
            .Required()
            .Type("bash|powershell");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        environment.Output().Write(m_shell == Bash ? BashCompletion : PowerShellCompletion);
        return ExitCode::Success;
    }

private:
    std::string m_shell;
};

} // namespace

std::unique_ptr<Command> MakeCompletionCommand()
{
    return std::make_unique<CompletionCommand>();
}

} // namespace Zv::Host
