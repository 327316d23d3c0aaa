#include "Host/Commands/CommandTable.h"
#include "Host/Completion/Scripts.h"

namespace Zv::Host
{

namespace
{

constexpr char Details[] =
    R"(Prints a script that makes Tab complete subcommands, options, their values, file names, and
the class and property names of this machine, or of the one behind --simulate.

For ever: let ~/.bashrc say "source ~/.wmihost.bash", and $PROFILE ". FOLDER\wmihost.ps1".)";

constexpr char Examples[] = R"(wmihost completion bash > ~/.wmihost.bash
wmihost completion powershell > wmihost.ps1)";

constexpr char Bash[] = "bash";
constexpr char PowerShell[] = "powershell";

std::string CheckShell(const std::string& text)
{
    return text == Bash || text == PowerShell ? std::string{} : "\"" + text + "\" is neither bash nor powershell";
}

class CompletionCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "completion"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Print a script for Tab completion"; }

    [[nodiscard]] HelpText Help() const noexcept override { return {Details, Examples}; }
    [[nodiscard]] std::vector<OutputFormat> Formats() const override { return {OutputFormat::Text}; }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("SHELL", m_shell, "The shell that is to complete")
            ->required()
            ->type_name("bash|powershell")
            ->check(CheckShell);
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
