#include "Host/CommandLine/Simulation.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Recording/DescriptionContents.h"
#include "Platform/Windows/Utf8.h"

namespace Zv::Host
{

namespace
{

class CheckCommand : public Command
{
public:
    CheckCommand()
        : Command{
              {.name = "check",
               .summary = "Check a machine description",
               .details = R"(Reads a machine description as --simulate does. Says what is in it, or what is wrong with
it: the line, the column and what was expected there.)",
               .examples = R"(wmihost check machine.json
wmihost check machine.json --json)"}}
    {
        m_arguments.Positional("FILE", m_file, "Description of a machine; - reads standard input").Required();
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        environment.CheckInput(m_file);
        const Simulator::Machine machine = LoadMachine(m_file);
        const std::string name = ToUtf8(machine.GetDescription().name);
        const DescriptionContents contents = Count(machine.GetDescription());
        environment.Output().WriteLine(environment.Options().PrintsJson()
                                           ? contents.Json().Add("name", name).Text()
                                           : m_file + " is valid: " + name + "; " + contents.Text());
        return ExitCode::Success;
    }

private:
    std::string m_file;
};

} // namespace

std::unique_ptr<Command> MakeCheckCommand()
{
    return std::make_unique<CheckCommand>();
}

} // namespace Zv::Host
