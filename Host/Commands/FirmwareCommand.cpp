#include "Host/CommandParts/FirmwareReply.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Bytes.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/Numbers.h"
#include "Host/Text/OutputFile.h"
#include "Host/Text/RequestText.h"
#include "Host/Watch/LogText.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;

constexpr std::size_t MaxInput = 4096;

// As it was typed, which error lines repeat.
struct TypedNumber
{
    std::string text;
    unsigned int value = 0;
};

TypedNumber TypedNumberFrom(const std::string& text)
{
    const std::optional<unsigned int> number = ParseUnsigned(text);
    if (!number)
    {
        throw std::invalid_argument{"\"" + text + "\" is not a number from 0 to 4294967295"};
    }
    return {text, *number};
}

unsigned int SizeFrom(const std::string& text)
{
    constexpr std::array sizes{0U, 4U, 128U, 1024U, 4096U};
    const std::optional<unsigned int> size = ParseUnsigned(text);
    if (!size || std::ranges::find(sizes, *size) == sizes.end())
    {
        throw std::invalid_argument{"\"" + text + "\" is none of 0, 4, 128, 1024, 4096"};
    }
    return *size;
}

std::string CodeText(unsigned int code)
{
    return std::to_string(code) + " (" + HexCode(static_cast<int>(code)) + ')';
}

class FirmwareCommand : public Command
{
public:
    FirmwareCommand()
        : Command{
              {.name = "firmware",
               .summary = "Run a raw firmware command",
               .details = R"(COMMAND and TYPE are numbers, hexadecimal behind 0x. What they do is the firmware's affair:
some change the machine.

Prints the firmware's return code and a dump of the bytes that came back. With --json:
{"result":{"returnCode":N,"returnData":BASE64}}. A return code other than 0, or bytes that
did not come, end in exit code 7.)",
               .examples = R"(wmihost firmware 1 1 --out 128
wmihost firmware 2 40 --in "03 00 00 00"
wmihost firmware 0x20009 1 --in @block.bin --out 4096 --raw answer.bin)"}}
    {
        m_arguments.Positional("COMMAND", {m_command, TypedNumberFrom}, "Number of the firmware command").Required();
        m_arguments.Positional("TYPE", {m_type, TypedNumberFrom}, "Number of its type").Required();
        m_arguments.Option("--in", m_input, "Bytes to send, in hexadecimal; @FILE reads them, @- from standard input")
            .Type("HEX|@FILE");
        m_arguments
            .Option("--out", {m_size, SizeFrom}, "How many bytes come back: 0 (the default), 4, 128, 1024 or 4096")
            .Type("SIZE");
        m_arguments.Option("--raw", m_rawFile, "Write the bytes that came back into this file instead of showing them")
            .Type("FILE");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (!m_rawFile.empty() && m_size == 0)
        {
            throw Mistake("--raw needs --out 4, 128, 1024 or 4096, since no bytes come back without it");
        }
        environment.CheckInput(m_input.starts_with('@') ? m_input.substr(1) : "");
        const Bytes input = Input();
        const Reply reply =
            environment.OpenSession().Execute(FunctionNumber::ExecuteBiosWmiCommand, Request(input).Text());
        const JsonDocument document = ParseFirmwareReply(
            reply, FirmwareCommands(), "firmware command " + m_command.text + ", type " + m_type.text);

        // Where the module has no bytes to hand out it logs why, and hands out zeros.
        const bool hasBytes = !LacksReturnData(reply.problem);
        const JsonValue& result = document.FindMember("result")->value;
        const unsigned int returnCode = ReturnCode(result);
        const Bytes bytes = hasBytes ? ReturnedBytes(result) : Bytes{};
        Print(environment, reply, returnCode, m_rawFile.empty() ? bytes : Bytes{});
        if (!m_rawFile.empty() && hasBytes)
        {
            WriteAll(m_rawFile, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        }
        return Judge(environment.Output(), hasBytes ? "" : reply.problem, returnCode);
    }

private:
    static Failure Mistake(const std::string& text)
    {
        return Failure{ExitCode::BadInput, "wmihost firmware: " + text + "; see wmihost firmware --help"};
    }

    [[nodiscard]] Bytes Input() const
    {
        std::optional<Bytes> bytes;
        if (m_input.starts_with('@'))
        {
            const std::string content = ReadAll(m_input.substr(1));
            bytes.emplace(content.begin(), content.end());
        }
        else
        {
            bytes = ParseHex(m_input);
        }
        if (!bytes)
        {
            throw Mistake("--in: \"" + m_input +
                          R"(" is not bytes in hexadecimal, such as "01 ff"; @FILE reads a file)");
        }
        if (bytes->size() > MaxInput)
        {
            throw Mistake("--in: has " + std::to_string(bytes->size()) + " bytes, may have " +
                          std::to_string(MaxInput));
        }
        return *bytes;
    }

    [[nodiscard]] JsonObject Request(const Bytes& input) const
    {
        JsonObject request;
        request.Add("command", m_command.value)
            .Add("commandType", m_type.value)
            .Add("inputDataSize", static_cast<unsigned int>(input.size()))
            .Add("returnDataSize", m_size);
        if (!input.empty())
        {
            request.Add("inputData", ToBase64(input));
        }
        return request;
    }

    static unsigned int ReturnCode(const JsonValue& result)
    {
        if (result.IsObject())
        {
            const auto code = result.FindMember("returnCode");
            if (code != result.MemberEnd() && code->value.IsUint())
            {
                return code->value.GetUint();
            }
        }
        throw Failure{ExitCode::InternalError, "the module's response has no return code: " + JsonText(result)};
    }

    static Bytes ReturnedBytes(const JsonValue& result)
    {
        const auto data = result.FindMember("returnData");
        if (data == result.MemberEnd())
        {
            return {};
        }
        std::optional<Bytes> bytes = FromBase64(PlainText(data->value));
        if (!bytes)
        {
            throw Failure{ExitCode::InternalError, "the module's response is not base64: " + JsonText(result)};
        }
        return *std::move(bytes);
    }

    static void Print(const Environment& environment, const Reply& reply, unsigned int returnCode, const Bytes& bytes)
    {
        if (environment.Options().PrintsJson())
        {
            environment.Output().WriteLine(reply.response.value_or("{}"));
        }
        else
        {
            environment.Output().Write("return code  " + CodeText(returnCode) + '\n' + HexDump(bytes));
        }
    }

    static ExitCode Judge(Console& output, const std::string& problem, unsigned int returnCode)
    {
        if (!problem.empty())
        {
            output.WriteErrorLine("the firmware did not return the bytes: " + problem);
        }
        if (returnCode != 0)
        {
            output.WriteErrorLine("the firmware refused the command: return code " + CodeText(returnCode));
        }
        return problem.empty() && returnCode == 0 ? ExitCode::Success : ExitCode::FirmwareRefused;
    }

    TypedNumber m_command;
    TypedNumber m_type;
    std::string m_input;
    unsigned int m_size = 0;
    std::string m_rawFile;
};

} // namespace

std::unique_ptr<Command> MakeFirmwareCommand()
{
    return std::make_unique<FirmwareCommand>();
}

} // namespace Zv::Host
