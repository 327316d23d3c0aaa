#include "Host/Client/PendingCommand.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/Numbers.h"
#include "Host/Text/RequestText.h"
#include "Platform/Windows/Utf8.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <string_view>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;

struct NamedFunction
{
    std::string_view name;
    FunctionNumber number;
};

constexpr std::array Functions = {
    NamedFunction{"ExecuteBiosWmiCommand", FunctionNumber::ExecuteBiosWmiCommand},
    NamedFunction{"RegisterBiosEventNotification", FunctionNumber::RegisterBiosEventNotification},
    NamedFunction{"UnregisterBiosWmiEventNotification", FunctionNumber::UnregisterBiosWmiEventNotification},
    NamedFunction{"GetWmiPropertyValue", FunctionNumber::GetWmiPropertyValue},
    NamedFunction{"GetWmiPropertyValues", FunctionNumber::GetWmiPropertyValues},
    NamedFunction{"SetBiosSetting", FunctionNumber::SetBiosSetting},
    NamedFunction{"SetBiosSystemDefaults", FunctionNumber::SetBiosSystemDefaults},
    NamedFunction{"GetWmiClassObjectText", FunctionNumber::GetWmiClassObjectText},
};

std::optional<unsigned int> ParseFunction(const std::string& text)
{
    for (const NamedFunction& function : Functions)
    {
        if (function.name == text)
        {
            return static_cast<unsigned int>(function.number);
        }
    }
    return ParseUnsigned(text); // also one that the module refuses
}

// As it was typed, which error lines repeat.
struct TypedFunction
{
    std::string text;
    unsigned int number = 0;
};

TypedFunction FunctionFrom(const std::string& text)
{
    const std::optional<unsigned int> number = ParseFunction(text);
    if (!number)
    {
        throw std::invalid_argument{"\"" + text + "\" is neither a number nor the name of a function"};
    }
    return {text, *number};
}

std::vector<std::string> FunctionNames()
{
    std::vector<std::string> names;
    std::ranges::transform(Functions, std::back_inserter(names),
                           [](const NamedFunction& function) { return std::string{function.name}; });
    return names;
}

class RunCommand : public Command
{
public:
    RunCommand()
        : Command{
              {.name = "run",
               .summary = "Run any command with a JSON request",
               .details = R"(The request is JSON in UTF-8, or UTF-16 with a byte order mark; without a file it is {}.
It reaches the module as it is, so that mistakes can be tried out, too.

Progress texts are printed as they come, one line each; one that has line breaks is
printed as a JSON string. The response follows in a line of its own. With --json or
--ndjson each line is an object: {"progress":TEXT} ..., then
{"code":N,"name":NAME,"response":RESPONSE}.

Functions:
  2    ExecuteBiosWmiCommand
  4    RegisterBiosEventNotification (runs until Ctrl-C or --timeout)
  8    UnregisterBiosWmiEventNotification
  16   GetWmiPropertyValue
  32   GetWmiPropertyValues
  64   SetBiosSetting
  128  SetBiosSystemDefaults
  256  GetWmiClassObjectText)",
               .examples = R"(wmihost run 16 request.json
wmihost run GetWmiClassObjectText - < request.json)",
               .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
    {
        m_arguments.Positional("FUNCTION", {m_function, FunctionFrom}, "Number or name of the function")
            .Required()
            .Tab(FunctionNames);
        m_arguments.Positional("REQUEST-FILE", m_requestFile, "File with the request; - reads standard input");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        environment.CheckInput(m_requestFile);
        std::wstring request = m_requestFile.empty() ? L"{}" : DecodeRequest(ReadAll(m_requestFile), m_requestFile);
        const bool json = environment.Options().PrintsJson();
        Console& output = environment.Output();

        const Reply reply = ExecuteUntilInterrupted(
            environment.OpenSession(), environment.GetInterruption().Event(), m_function.number, std::move(request),
            [&](std::string_view text) {
                output.WriteLine(json ? JsonObject{}.Add("progress", text).Text() : ProgressLine(text));
            });
        PrintResponse(output, reply, json);
        environment.GetInterruption().Check();
        if (reply.code != 0)
        {
            // The response, which a failed command may have as well, has said it to programs.
            output.WriteErrorLine(ErrorLine(reply.code, "function " + m_function.text, reply.problem));
            return ExitCode::CommandFailed;
        }
        return ExitCode::Success;
    }

private:
    static std::string ProgressLine(std::string_view text)
    {
        return text.find_first_of("\r\n") == std::string_view::npos ? std::string{text} : JsonString(text);
    }

    static void PrintResponse(Console& output, const Reply& reply, bool json)
    {
        if (json)
        {
            const ResultCodeInfo* const info = FindResultCode(reply.code);
            output.WriteLine(JsonObject{}
                                 .Add("code", reply.code)
                                 .Add("hex", HexCode(reply.code))
                                 .Add("name", info != nullptr ? info->name : "")
                                 .AddJson("response", reply.response.value_or("null"))
                                 .Text());
        }
        else if (reply.response)
        {
            output.WriteLine(*reply.response);
        }
    }

    TypedFunction m_function;
    std::string m_requestFile;
};

} // namespace

std::unique_ptr<Command> MakeRunCommand()
{
    return std::make_unique<RunCommand>();
}

} // namespace Zv::Host
