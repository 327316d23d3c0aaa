#include "Host/CommandParts/QueryTarget.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Terminal/Progress.h"
#include "Host/Terminal/Table.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/Numbers.h"

#include <algorithm>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;

// Every instance has it, whatever its class.
constexpr char PropertyOfAll[] = "__GENUS";

// The "result" of the module's response.
JsonDocument ResultOf(const Reply& reply)
{
    const std::string response = reply.response.value_or("{}");
    JsonDocument document;
    document.Parse(response.data(), response.size());
    if (document.HasParseError() || !document.IsObject() || !document.HasMember("result"))
    {
        throw Failure{ExitCode::InternalError, "the module's response has no result: " + response};
    }
    JsonDocument result;
    result.CopyFrom(document["result"], result.GetAllocator());
    return result;
}

class GetCommand : public Command
{
public:
    GetCommand()
        : Command{{.name = "get",
                   .summary = "Read properties of a WMI class",
                   .details = R"(Prints the value of the last instance, or with --all one line per instance. An array
is printed with commas between its elements. With --json: {"result":VALUE}, VALUE
being an array of all values with --all. With --ndjson: {PROPERTY:VALUE} for each.

Several properties make a table of all instances, and need --all; with --json:
{"result":[{PROPERTY:VALUE, ...}, ...]}. Each property is a query of its own, so that a
machine that changes meanwhile can mix its instances up; where a property has a value
in some of the instances only, the table is refused.)",
                   .examples = R"(wmihost get Win32_OperatingSystem Caption
wmihost get Win32_Process Name --all --where "ProcessId > 100"
wmihost get Win32_LogicalDisk DeviceID FileSystem Size --all --csv)",
                   .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines, OutputFormat::Csv}}}
    {
        m_target.DeclareClass(m_arguments);
        m_arguments.Positional("PROPERTY", m_properties, "Property, such as SerialNumber").Required();
        m_target.DeclareOptions(m_arguments);
        m_arguments.Flag("--all", m_all, "The values of all instances, not of the last alone");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (m_properties.size() == 1)
        {
            PrintProperty(environment);
        }
        else
        {
            CheckProperties();
            ReadTable(environment).Print(environment.Output(), environment.Options().format);
        }
        return ExitCode::Success;
    }

private:
    void CheckProperties() const
    {
        const auto mistake = [](const std::string& text) {
            return Failure{ExitCode::BadInput, "wmihost get: " + text + "; see wmihost get --help"};
        };
        if (!m_all)
        {
            throw mistake("several properties need --all");
        }
        for (auto property = m_properties.begin(); property != m_properties.end(); ++property)
        {
            if (std::find(m_properties.begin(), property, *property) != property)
            {
                throw mistake("the property " + *property + " is given twice");
            }
        }
    }

    void PrintProperty(Environment& environment) const
    {
        const std::string& property = m_properties.front();
        const FunctionNumber function =
            m_all ? FunctionNumber::GetWmiPropertyValues : FunctionNumber::GetWmiPropertyValue;
        Console& output = environment.Output();
        Session& session = environment.OpenSession();
        const Reply reply = [&] {
            const Progress progress{output, "reading " + m_target.wmiClass};
            return Ask(session, function, property);
        }();
        const OutputFormat format = environment.Options().format;
        if (format == OutputFormat::Json)
        {
            output.WriteLine(reply.response.value_or("{}"));
            return;
        }
        const JsonDocument result = ResultOf(reply);
        Table table{{property}};
        std::string lines;
        const auto add = [&](const JsonValue& value) {
            table.Add({Table::Cell{value}});
            lines += PlainText(value) + '\n';
        };
        if (m_all && result.IsArray())
        {
            std::for_each(result.Begin(), result.End(), add);
        }
        else
        {
            add(result);
        }
        format == OutputFormat::Text ? output.Write(lines) : table.Print(output, format);
    }

    [[nodiscard]] Table ReadTable(Environment& environment) const
    {
        Session& session = environment.OpenSession();
        Progress progress{environment.Output(), "reading " + m_target.wmiClass};
        const std::size_t instances = AskAll(session, PropertyOfAll).Size();
        std::vector<Table::Row> rows{instances};
        for (const std::string& property : m_properties)
        {
            progress.SetWhat("reading " + m_target.wmiClass + '.' + property);
            const JsonDocument values = AskAll(session, property);
            if (values.Size() != instances)
            {
                throw Failure{ExitCode::CommandFailed, property + " has a value in " + std::to_string(values.Size()) +
                                                           " of " + Counted(instances, "instance") +
                                                           ": which ones is not known; leave the others out with "
                                                           "--where, or ask for " +
                                                           property + " alone"};
            }
            std::transform(rows.begin(), rows.end(), values.Begin(), rows.begin(),
                           [](Table::Row row, const JsonValue& value) {
                               row.emplace_back(value);
                               return row;
                           });
        }
        Table table{m_properties};
        for (Table::Row& row : rows)
        {
            table.Add(std::move(row));
        }
        return table;
    }

    // An array.
    [[nodiscard]] JsonDocument AskAll(Session& session, const std::string& property) const
    {
        JsonDocument result = ResultOf(Ask(session, FunctionNumber::GetWmiPropertyValues, property));
        if (!result.IsArray())
        {
            throw Failure{ExitCode::InternalError, "the module's result is no array: " + JsonText(result)};
        }
        return result;
    }

    // Throws CommandFailure for a result code.
    [[nodiscard]] Reply Ask(Session& session, FunctionNumber function, const std::string& property) const
    {
        Reply reply = session.Execute(function, m_target.Request().Add("property", property).Text());
        if (reply.code != 0)
        {
            throw CommandFailure{reply.code,
                                 ErrorLine(reply.code, m_target.Subject(reply.code, property), reply.problem)};
        }
        return reply;
    }

    QueryTarget m_target;
    std::vector<std::string> m_properties;
    bool m_all = false;
};

} // namespace

std::unique_ptr<Command> MakeGetCommand()
{
    return std::make_unique<GetCommand>();
}

} // namespace Zv::Host
