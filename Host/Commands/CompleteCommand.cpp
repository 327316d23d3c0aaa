#include "Host/CommandLine/CommandLine.h"
#include "Host/CommandLine/Simulation.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Completion/Completion.h"
#include "Host/Completion/MachineNames.h"
#include "Host/Text/Failure.h"

#include <optional>

namespace Zv::Host
{

namespace
{

// Who pressed a key waits.
constexpr DWORD NamesLimit = 2000;

class CompleteCommand : public Command
{
public:
    CompleteCommand()
        : Command{{.name = "complete",
                   .summary = "Say what a command line may go on with",
                   .details =
                       R"(For the scripts of "wmihost completion". Prints what may stand at the end of a command line,
one word per line, or ":files" where it is the name of a file. Says nothing about failures.)",
                   .examples = R"(wmihost complete -- get Win32_
wmihost complete --new -- --simulate machine.json get Win32_BIOS)",
                   .formats = {OutputFormat::Text},
                   .isHidden = true}}
    {
        m_arguments.Flag("--new", m_isNew, "A word begins behind them, of which nothing has been typed");
        m_arguments.Positional("WORDS", m_words, "The words behind wmihost, the last of which is being typed");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const CommandLine line{MakeCommands};
        std::string begin;
        if (!m_isNew && !m_words.empty())
        {
            begin = m_words.back();
            m_words.pop_back();
        }
        std::optional<Simulator::Machine> machine;
        if (const std::string file = GivenValue(line, m_words, "--simulate"); !file.empty())
        {
            try
            {
                machine.emplace(LoadMachine(file));
            }
            catch (const Failure&)
            {
                return ExitCode::Success; // the command that is being typed will say it
            }
        }
        MachineNames names{machine ? &*machine : nullptr, NamesLimit};
        const Completion completion = Complete(line, m_words, begin, names.Source());
        std::string output = completion.files ? ":files\n" : "";
        for (const std::string& word : completion.words)
        {
            output += word + '\n';
        }
        environment.Output().Write(output);
        return ExitCode::Success;
    }

private:
    bool m_isNew = false;
    std::vector<std::string> m_words;
};

} // namespace

std::unique_ptr<Command> MakeCompleteCommand()
{
    return std::make_unique<CompleteCommand>();
}

} // namespace Zv::Host
