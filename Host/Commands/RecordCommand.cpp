#include "Host/CommandLine/Simulation.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Recording/ClassReading.h"
#include "Host/Recording/ComMembership.h"
#include "Host/Recording/DescriptionContents.h"
#include "Host/Recording/Redaction.h"
#include "Host/Terminal/Progress.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Numbers.h"
#include "Host/Text/OutputFile.h"
#include "Platform/Windows/Utf8.h"

#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Description/DescriptionWriter.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace Zv::Host
{

namespace
{

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
    RecordCommand()
        : Command{
              {.name = "record",
               .summary = "Record this machine's WMI classes",
               .details = R"(Writes what this machine's WMI holds of the classes: their properties, the signatures of
their methods and their instances. --simulate takes the file, on this machine or another.
CLASS may have a namespace of its own before a colon, as in root\wmi:zvqBIntM. Without a
CLASS, those that the module itself works with are recorded, as far as they are there.

Serial numbers, user names and passwords are replaced, unless --no-redact is given. Look
the file through all the same before you give it away.

What cannot be read is left out and named on standard error with the reason; the rest is
written, and the exit code is 9. Only if nothing can be read no file is written.

Prints what the file has; with --ndjson each class before that, as soon as it is read:
{"class":TEXT,"namespace":TEXT,"instances":N}.)",
               .examples = R"(wmihost record --out machine.json
wmihost record --out board.json Win32_BaseBoard Win32_BIOS root\wmi:zvqBIntM)",
               .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
    {
        m_arguments.Positional("CLASS", m_classes, "WMI classes, such as Win32_BIOS");
        m_arguments.Option("--out", m_file, "The machine description to write").Required().Type("FILE");
        m_arguments.Option("--namespace", m_nameSpace, "WMI namespace of the classes (default: " + m_nameSpace + ")")
            .Type("NS");
        m_arguments.Flag("--schema-only", m_schemaOnly, "Leave the instances out");
        m_arguments
            .Option("--limit", {m_limit, CountFrom}, "Record at most so many instances of a class (default: all)")
            .Type("N");
        m_arguments
            .Option("--class-timeout", {m_patience, NumberFrom},
                    "Leave out a class that takes longer, in seconds (0: wait; default: " + std::to_string(m_patience) +
                        ")")
            .Type("S");
        m_arguments.Flag("--no-redact", m_complete, "Keep serial numbers, user names and passwords");
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
        bool complete = true;
        Simulator::Description description = Record(classes, machine ? &*machine : nullptr, environment, complete);
        if (description.namespaces.empty())
        {
            throw Failure{ExitCode::CommandFailed, "nothing was recorded; " + m_file + " is not written"};
        }
        if (!m_complete)
        {
            Redact(description);
        }
        const std::string text = Simulator::WriteDescription(description, m_complete ? CompleteNote : RedactedNote);
        const DescriptionContents contents = Count(Simulator::ReadDescription(text)); // it is a valid one
        WriteAll(m_file, text);
        environment.Output().WriteLine(environment.Options().PrintsJson() ? contents.Json().Text()
                                                                          : m_file + " has " + contents.Text());
        return complete ? ExitCode::Success : ExitCode::Incomplete;
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

    // What cannot be read is named and left out; of the classes that nobody named, that is as it may be.
    [[nodiscard]] Simulator::Description Record(const std::vector<Wanted>& classes, Simulator::Machine* machine,
                                                const Environment& environment, bool& complete) const
    {
        Console& console = environment.Output();
        Simulator::Description description;
        description.name = L"Recorded machine";
        Progress progress{console, "recording"};
        std::set<std::pair<std::wstring, std::wstring>> done;
        for (const Wanted& wanted : classes)
        {
            if (!done.emplace(InSmallLetters(wanted.nameSpace), InSmallLetters(wanted.name)).second)
            {
                continue;
            }
            const std::string what = "recording " + ToUtf8(wanted.name);
            progress.SetWhat(what);
            const LegTimes::Leg leg{environment.Times(), what};
            try
            {
                ClassReading reading{machine, wanted.nameSpace, wanted.name, {m_limit, m_schemaOnly, {}}};
                Wait(reading, wanted, progress, environment);
                ClassReadingResult result = reading.Take();
                if (!result.found)
                {
                    throw Failure{ExitCode::CommandFailed,
                                  "there is no class " + ToUtf8(wanted.name) + " in " + ToUtf8(wanted.nameSpace)};
                }
                for (const std::string& loss : result.losses)
                {
                    console.WriteErrorLine("not recorded: " + loss);
                }
                complete = complete && result.losses.empty();
                if (environment.Options().format == OutputFormat::JsonLines)
                {
                    console.WriteLine(JsonObject{}
                                          .Add("class", ToUtf8(wanted.name))
                                          .Add("namespace", ToUtf8(wanted.nameSpace))
                                          .AddJson("instances", std::to_string(reading.Count()))
                                          .Text());
                }
                Merge(std::move(result), description);
            }
            catch (const Failure& failure)
            {
                if (failure.Code() != ExitCode::CommandFailed) // Ctrl-C
                {
                    throw;
                }
                console.WriteErrorLine(std::string{"not recorded: "} + failure.what());
                complete = complete && m_classes.empty();
            }
        }
        return description;
    }

    // Throws when the class takes too long, or Ctrl-C comes.
    void Wait(const ClassReading& reading, const Wanted& wanted, Progress& progress,
              const Environment& environment) const
    {
        constexpr DWORD glance = 50;
        const ULONGLONG end = GetTickCount64() + ULONGLONG{m_patience} * 1000;
        std::size_t count = 0;
        while (!reading.WaitFor(glance))
        {
            // One that does not move is left to the interruption, which ends the program and says so.
            if (const std::size_t now = reading.Count(); now != count)
            {
                environment.GetInterruption().Check();
                count = now;
            }
            progress.SetCount(count);
            if (m_patience != 0 && GetTickCount64() >= end)
            {
                throw Failure{ExitCode::CommandFailed, ToUtf8(wanted.name) + ": not read within " +
                                                           std::to_string(m_patience) + " s (--class-timeout)"};
            }
        }
        environment.GetInterruption().Check();
    }

    // The classes of one reading to those of the others: one that is embedded in several is read with each of them.
    static void Merge(ClassReadingResult result, Simulator::Description& description)
    {
        description.server = result.server.empty() ? description.server : result.server;
        auto nameSpace = std::ranges::find_if(description.namespaces, [&](const Simulator::Namespace& other) {
            return Simulator::EqualNoCase(other.path, result.nameSpace);
        });
        if (nameSpace == description.namespaces.end())
        {
            nameSpace = description.namespaces.insert(nameSpace, {result.nameSpace, {}});
        }
        for (Simulator::ClassEntry& entry : result.classes)
        {
            const auto same = std::ranges::find_if(nameSpace->classes, [&](const Simulator::ClassEntry& other) {
                return Simulator::EqualNoCase(other.definition->name, entry.definition->name);
            });
            if (same == nameSpace->classes.end())
            {
                nameSpace->classes.push_back(std::move(entry));
            }
            else if (same->instances.empty())
            {
                *same = std::move(entry);
            }
        }
    }

    static std::wstring InSmallLetters(std::wstring text)
    {
        CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
        return text;
    }

    std::vector<std::string> m_classes;
    std::string m_file;
    std::string m_nameSpace = "ROOT\\CIMV2";
    bool m_complete = false;
    bool m_schemaOnly = false;
    unsigned int m_limit = 0;
    unsigned int m_patience = 30;
};

} // namespace

std::unique_ptr<Command> MakeRecordCommand()
{
    return std::make_unique<RecordCommand>();
}

} // namespace Zv::Host
