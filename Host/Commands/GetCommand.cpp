#include "Host/Commands/CommandTable.h"
#include "Host/Commands/QueryTarget.h"
#include "Host/Failure.h"
#include "Host/Json.h"
#include "Host/ResultCodes.h"

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;

constexpr char Footer[] = R"(Prints the value of the last instance, or with --all one line per instance. An array
is printed with commas between its elements. With --json: {"result":VALUE}, VALUE
being an array of all values with --all.

Examples:
  wmihost get Win32_OperatingSystem Caption
  wmihost get Win32_Process Name --all --where "ProcessId > 100")";

class GetCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "get"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Read a property of a WMI class"; }

    void Declare(CLI::App& parser) override
    {
        m_target.DeclareClass(parser);
        parser.add_option("PROPERTY", m_property, "Property, such as SerialNumber")->required();
        m_target.DeclareOptions(parser);
        parser.add_flag("--all", m_all, "The values of all instances, not of the last alone");
        parser.footer(Footer);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const FunctionNumber function =
            m_all ? FunctionNumber::GetWmiPropertyValues : FunctionNumber::GetWmiPropertyValue;
        const Reply reply =
            environment.OpenSession().Execute(function, m_target.Request().Add("property", m_property).Text());
        if (reply.code != 0)
        {
            throw CommandFailure{reply.code,
                                 ErrorLine(reply.code, m_target.Subject(reply.code, m_property), reply.problem)};
        }
        const std::string response = reply.response.value_or("{}");
        if (environment.Options().json)
        {
            environment.Output().WriteLine(response);
        }
        else
        {
            PrintValues(environment.Output(), response);
        }
        return ExitCode::Success;
    }

private:
    void PrintValues(Console& output, const std::string& response) const
    {
        JsonDocument document;
        document.Parse(response.data(), response.size());
        if (document.HasParseError() || !document.IsObject() || !document.HasMember("result"))
        {
            throw Failure{ExitCode::InternalError, "the module's response has no result: " + response};
        }
        const JsonValue& result = document["result"];
        if (!m_all || !result.IsArray())
        {
            output.WriteLine(PlainText(result));
            return;
        }
        std::string lines;
        for (const JsonValue& value : result.GetArray())
        {
            lines += PlainText(value) + '\n';
        }
        output.Write(lines);
    }

    QueryTarget m_target;
    std::string m_property;
    bool m_all = false;
};

} // namespace

std::unique_ptr<Command> MakeGetCommand()
{
    return std::make_unique<GetCommand>();
}

} // namespace Zv::Host
