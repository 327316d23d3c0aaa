#include "Host/CommandLine/Simulation.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Recording/ClassRecorder.h"
#include "Host/Recording/ComMembership.h"
#include "Host/Recording/DescriptionContents.h"
#include "Host/Recording/Redaction.h"
#include "Host/Terminal/Progress.h"
#include "Host/Text/Failure.h"
#include "Host/Text/OutputFile.h"
#include "Host/Text/Utf.h"

#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Description/DescriptionWriter.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Zv::Host
{

namespace
{

constexpr char Details[] = R"(Writes what this machine's WMI holds of the classes: their properties, the signatures of
their methods and their instances. --simulate takes the file, on this machine or another.
CLASS may have a namespace of its own before a colon, as in root\wmi:zvqBIntM. Without a
CLASS, those that the module itself works with are recorded, as far as they are there.

Serial numbers, user names and passwords are replaced, unless --no-redact is given. Look
the file through all the same before you give it away.

Prints what the file has; with --ndjson each class before that, as soon as it is read:
{"class":TEXT,"namespace":TEXT}.)";

constexpr char Examples[] = R"(wmihost record --out machine.json
wmihost record --out board.json Win32_BaseBoard Win32_BIOS root\wmi:zvqBIntM)";

constexpr char RedactedNote[] = "Recorded by wmihost; serial numbers, user names and passwords are replaced.";
constexpr char CompleteNote[] = "Recorded by wmihost, serial numbers, user names and passwords included.";

// What the module asks about, and what tells machines apart.
constexpr const char* UsualClasses[] = {
    "ROOT\\CIMV2:Win32_BaseBoard",
    "ROOT\\CIMV2:Win32_BIOS",
    "ROOT\\CIMV2:Win32_ComputerSystem",
    "ROOT\\CIMV2:Win32_OperatingSystem",
    "root\\wmi:zvqBDataIn",
    "root\\wmi:zvqBIntM",
    "root\\wmi:zvqBEvnt",
    "ROOT\\ZV\\InstrumentedBIOS:ZVBIOS_BIOSSettingInterface",
};

class RecordCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "record"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Record this machine's WMI classes"; }
    [[nodiscard]] HelpText Help() const noexcept override { return {Details, Examples}; }
    [[nodiscard]] std::vector<OutputFormat> Formats() const override
    {
        return {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines};
    }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("CLASS", m_classes, "WMI classes, such as Win32_BIOS");
        parser.add_option("--out", m_file, "The machine description to write")->required()->type_name("FILE");
        parser.add_option("--namespace", m_nameSpace, "WMI namespace of the classes (default: " + m_nameSpace + ")")
            ->type_name("NS");
        parser.add_flag("--no-redact", m_complete, "Keep serial numbers, user names and passwords");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const std::vector<Wanted> classes = WantedClasses();
        const ComMembership membership;
        ComMembership::SetProcessSecurity();
        std::optional<Simulator::Machine> machine;
        if (!environment.Options().simulateFile.empty())
        {
            machine.emplace(LoadMachine(environment.Options().simulateFile));
        }
        Simulator::Description description = Record(classes, machine ? &*machine : nullptr, environment);
        if (!m_complete)
        {
            Redact(description);
        }
        const std::string text = Simulator::WriteDescription(description, m_complete ? CompleteNote : RedactedNote);
        const DescriptionContents contents = Count(Simulator::ReadDescription(text)); // it is a valid one
        WriteAll(m_file, text);
        environment.Output().WriteLine(environment.Options().PrintsJson() ? contents.Json().Text()
                                                                          : m_file + " has " + contents.Text());
        return ExitCode::Success;
    }

private:
    // A class in its namespace, both as they are asked for.
    struct Wanted
    {
        std::wstring nameSpace;
        std::wstring name;
    };

    [[nodiscard]] std::vector<Wanted> WantedClasses() const
    {
        const auto parse = [this](const std::string& text) { return Parse(text); };
        std::vector<Wanted> wanted;
        std::ranges::transform(m_classes, std::back_inserter(wanted), parse);
        if (wanted.empty())
        {
            std::ranges::transform(UsualClasses, std::back_inserter(wanted), parse);
        }
        return wanted;
    }

    [[nodiscard]] Wanted Parse(const std::string& text) const
    {
        const std::size_t colon = text.rfind(':');
        const std::string nameSpace = colon == std::string::npos ? m_nameSpace : text.substr(0, colon);
        const auto parsed = Simulator::ParseNamespace(ToUtf16(nameSpace));
        if (!parsed || !parsed->server.empty())
        {
            throw Mistake("\"" + nameSpace + R"(" is not a namespace of this machine, such as ROOT\CIMV2)");
        }
        Wanted wanted{parsed->path, ToUtf16(colon == std::string::npos ? text : text.substr(colon + 1))};
        if (wanted.name.empty() || wanted.name.find_first_of(L" \t\r\n'\"\\/.=") != std::wstring::npos)
        {
            throw Mistake("\"" + text + R"(" is not a class, such as Win32_BIOS or root\wmi:zvqBIntM)");
        }
        return wanted;
    }

    static Failure Mistake(const std::string& text)
    {
        return Failure{ExitCode::BadInput, "wmihost record: " + text + "; see wmihost record --help"};
    }

    // Classes that were named must be there, the usual ones need not.
    [[nodiscard]] Simulator::Description Record(const std::vector<Wanted>& classes, Simulator::Machine* machine,
                                                const Environment& environment) const
    {
        Console& console = environment.Output();
        Simulator::Description description;
        description.name = L"Recorded machine";
        std::vector<ClassRecorder> recorders; // one per namespace
        Progress progress{console, "recording"};
        for (const Wanted& wanted : classes)
        {
            environment.GetInterruption().Check();
            const std::string what = "recording " + ToUtf8(wanted.name);
            progress.SetWhat(what);
            const LegTimes::Leg leg{environment.Times(), what};
            try
            {
                auto recorder = std::ranges::find_if(recorders, [&](const auto& other) {
                    return Simulator::EqualNoCase(other.NameSpace(), wanted.nameSpace);
                });
                if (recorder == recorders.end())
                {
                    recorder = recorders.emplace(recorder, machine, wanted.nameSpace);
                }
                if (!recorder->Record(wanted.name))
                {
                    throw Failure{ExitCode::CommandFailed,
                                  "there is no class " + ToUtf8(wanted.name) + " in " + ToUtf8(wanted.nameSpace)};
                }
                if (environment.Options().format == OutputFormat::JsonLines)
                {
                    console.WriteLine(JsonObject{}
                                          .Add("class", ToUtf8(wanted.name))
                                          .Add("namespace", ToUtf8(wanted.nameSpace))
                                          .Text());
                }
            }
            catch (const Failure& failure)
            {
                if (!m_classes.empty())
                {
                    throw;
                }
                console.WriteErrorLine(std::string{"not recorded: "} + failure.what());
            }
        }
        for (ClassRecorder& recorder : recorders)
        {
            for (const std::string& loss : recorder.Losses())
            {
                console.WriteErrorLine("not recorded: " + loss);
            }
            description.server = recorder.Server().empty() ? description.server : recorder.Server();
            description.namespaces.push_back({recorder.NameSpace(), recorder.Take()});
        }
        return description;
    }

    std::vector<std::string> m_classes;
    std::string m_file;
    std::string m_nameSpace = "ROOT\\CIMV2";
    bool m_complete = false;
};

} // namespace

std::unique_ptr<Command> MakeRecordCommand()
{
    return std::make_unique<RecordCommand>();
}

} // namespace Zv::Host
