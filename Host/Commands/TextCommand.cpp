#include "Host/CommandParts/QueryTarget.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Terminal/Progress.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;

// MOF comes with the line ends of Windows and an empty line in front.
std::string WithPlainLineEnds(std::string_view text)
{
    std::string plain{text};
    std::erase(plain, '\r');
    const std::size_t begin = plain.find_first_not_of('\n');
    const std::size_t end = plain.find_last_not_of('\n');
    return begin == std::string::npos ? std::string{} : plain.substr(begin, end + 1 - begin);
}

class TextCommand : public Command
{
public:
    TextCommand()
        : Command{{.name = "text",
                   .summary = "Show the instances of a WMI class",
                   .details = R"(Prints the text of each instance as WMI writes it (MOF), as soon as it is there. With
--json: {"result":[TEXT, ...]}, with --ndjson {"text":TEXT} for each as it comes.)",
                   .examples = R"(wmihost text Win32_BIOS
wmihost text Win32_Process --where "Name = 'services.exe'")",
                   .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
    {
        m_target.DeclareClass(m_arguments);
        m_target.DeclareOptions(m_arguments);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const OutputFormat format = environment.Options().format;
        Console& output = environment.Output();
        std::string texts;
        Session& session = environment.OpenSession();
        Progress progress{output, "reading " + m_target.wmiClass};
        const Reply reply = session.Execute(
            FunctionNumber::GetWmiClassObjectText, m_target.Request().Text(), [&](std::string_view text) {
                progress.Count();
                if (format == OutputFormat::Json)
                {
                    texts += (texts.empty() ? "" : ",") + JsonString(text);
                }
                else
                {
                    output.WriteLine(format == OutputFormat::JsonLines ? JsonObject{}.Add("text", text).Text()
                                                                       : WithPlainLineEnds(text));
                }
            });
        if (reply.code != 0)
        {
            throw CommandFailure{reply.code, ErrorLine(reply.code, m_target.Subject(reply.code, {}), reply.problem)};
        }
        if (format == OutputFormat::Json)
        {
            output.WriteLine(JsonObject{}.AddJson("result", '[' + texts + ']').Text());
        }
        return ExitCode::Success;
    }

private:
    QueryTarget m_target;
};

} // namespace

std::unique_ptr<Command> MakeTextCommand()
{
    return std::make_unique<TextCommand>();
}

} // namespace Zv::Host
