#include "Host/CommandParts/FirmwareReply.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Bytes.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/Numbers.h"
#include "Host/Text/OutputFile.h"
#include "Host/Text/RequestText.h"

#include <optional>

namespace Zv::Host
{

namespace
{

using Zv::Tessel::Server::Services::FunctionNumber;

constexpr char Details[] =
    R"(COMMAND and TYPE are numbers, hexadecimal behind 0x. What they do is the firmware's affair:
some change the machine.

Prints the firmware's return code and a dump of the bytes that came back. With --json:
{"result":{"returnCode":N,"returnData":BASE64}}. A return code other than 0, or bytes that
did not come, end in exit code 7.)";

constexpr char Examples[] = R"(wmihost firmware 1 1 --out 128
wmihost firmware 2 40 --in "03 00 00 00"
wmihost firmware 0x20009 1 --in @block.bin --out 4096 --raw answer.bin)";

constexpr std::size_t MaxInput = 4096;

std::string CheckNumber(const std::string& text)
{
    return ParseUnsigned(text) ? std::string{} : "\"" + text + "\" is not a number from 0 to 4294967295";
}

std::string CheckSize(const std::string& text)
{
    const std::optional<unsigned int> size = ParseUnsigned(text);
    const bool valid = size && (*size == 0 || *size == 4 || *size == 128 || *size == 1024 || *size == 4096);
    return valid ? std::string{} : "\"" + text + "\" is none of 0, 4, 128, 1024, 4096";
}

std::string CodeText(unsigned int code)
{
    return std::to_string(code) + " (" + HexCode(static_cast<int>(code)) + ')';
}

class FirmwareCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "firmware"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Run a raw firmware command"; }
    [[nodiscard]] HelpText Help() const noexcept override { return {Details, Examples}; }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("COMMAND", m_command, "Number of the firmware command")->required()->check(CheckNumber);
        parser.add_option("TYPE", m_type, "Number of its type")->required()->check(CheckNumber);
        parser.add_option("--in", m_input, "Bytes to send, in hexadecimal; @FILE reads them, @- from standard input")
            ->type_name("HEX|@FILE");
        parser.add_option("--out", m_size, "How many bytes come back: 0 (the default), 4, 128, 1024 or 4096")
            ->type_name("SIZE")
            ->check(CheckSize);
        parser.add_option("--raw", m_rawFile, "Write the bytes that came back into this file instead of showing them")
            ->type_name("FILE");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (!m_rawFile.empty() && Size() == 0)
        {
            throw Mistake("--raw needs --out 4, 128, 1024 or 4096, since no bytes come back without it");
        }
        environment.CheckInput(m_input.starts_with('@') ? m_input.substr(1) : "");
        const Bytes input = Input();
        const Reply reply =
            environment.OpenSession().Execute(FunctionNumber::ExecuteBiosWmiCommand, Request(input).Text());
        const JsonDocument document =
            ParseFirmwareReply(reply, FirmwareCommands(), "firmware command " + m_command + ", type " + m_type);

        // Where the module has no bytes to hand out it logs why, and hands out zeros.
        const bool hasBytes = reply.problem.find("return data") == std::string::npos;
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

    [[nodiscard]] unsigned int Size() const { return ParseUnsigned(m_size).value_or(0); }

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
        request.Add("command", ParseUnsigned(m_command).value_or(0))
            .Add("commandType", ParseUnsigned(m_type).value_or(0))
            .Add("inputDataSize", static_cast<unsigned int>(input.size()))
            .Add("returnDataSize", Size());
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

    std::string m_command;
    std::string m_type;
    std::string m_input;
    std::string m_size = "0";
    std::string m_rawFile;
};

} // namespace

std::unique_ptr<Command> MakeFirmwareCommand()
{
    return std::make_unique<FirmwareCommand>();
}

} // namespace Zv::Host
