#include "Host/Commands/CommandTable.h"
#include "Host/Json.h"
#include "Host/Simulation.h"
#include "Host/Utf.h"

namespace Zv::Host
{

namespace
{

constexpr char Footer[] = R"(Reads a machine description as --simulate does. Says what is in it, or what is wrong with
it: the line, the column and what was expected there.

Examples:
  wmihost check machine.json
  wmihost check machine.json --json)";

struct Contents
{
    std::size_t classes = 0;
    std::size_t instances = 0;
};

Contents Count(const Simulator::Description& description)
{
    Contents contents;
    for (const Simulator::Namespace& nameSpace : description.namespaces)
    {
        for (const Simulator::ClassEntry& entry : nameSpace.classes)
        {
            if (!entry.definition->name.starts_with(L"__")) // WMI's own
            {
                ++contents.classes;
                contents.instances += entry.instances.size();
            }
        }
    }
    return contents;
}

class CheckCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "check"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Check a machine description"; }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("FILE", m_file, "Description of a machine; - reads standard input")->required();
        parser.footer(Footer);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const Simulator::Machine machine = LoadMachine(m_file);
        const Simulator::Description& description = machine.GetDescription();
        const std::string name = ToUtf8(description.name);
        const auto [classes, instances] = Count(description);
        const std::size_t settings = description.settings ? description.settings->items.size() : 0;
        if (environment.Options().json)
        {
            environment.Output().WriteLine(JsonObject{}
                                               .Add("name", name)
                                               .AddJson("classes", std::to_string(classes))
                                               .AddJson("instances", std::to_string(instances))
                                               .AddJson("settings", std::to_string(settings))
                                               .AddJson("packages", std::to_string(description.packages.size()))
                                               .Text());
        }
        else
        {
            environment.Output().WriteLine(m_file + " is valid: " + name + "; classes: " + std::to_string(classes) +
                                           ", instances: " + std::to_string(instances) +
                                           ", settings: " + std::to_string(settings) +
                                           ", packages: " + std::to_string(description.packages.size()));
        }
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
