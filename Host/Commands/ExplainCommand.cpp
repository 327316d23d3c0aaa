#include "Host/Commands/CommandTable.h"
#include "Host/Failure.h"
#include "Host/HResults.h"
#include "Host/Json.h"
#include "Host/Numbers.h"
#include "Host/ResultCodes.h"

namespace Zv::Host
{

namespace
{

constexpr char Footer[] = R"(The code is decimal, or hexadecimal behind 0x. Without one, all are listed.

Examples:
  wmihost explain 0x2000000f
  wmihost explain 0x80041017
  wmihost explain 536870914 --json)";

struct Explanation
{
    std::string code;
    std::string name;
    std::string meaning;
    std::string causes; // may be empty
    std::string advice; // may be empty
};

Explanation Explain(const ResultCodeInfo& info)
{
    return {HexCode(info.code), info.name, info.meaning, info.causes, info.advice};
}

Explanation Explain(const HResultInfo& info)
{
    return {HexCode(static_cast<int>(info.code)), info.name, info.meaning, {}, info.advice};
}

std::string CheckCode(const std::string& text)
{
    return ParseUnsigned(text) ? std::string{} : "\"" + text + "\" is not a code like 0x2000000f or 536870927";
}

class ExplainCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "explain"; }
    [[nodiscard]] const char* Description() const noexcept override
    {
        return "Say what a result code or HRESULT means";
    }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("CODE", m_code, "A code of the module's, or of WMI's or COM's")->check(CheckCode);
        parser.footer(Footer);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (m_code.empty())
        {
            for (const ResultCodeInfo& info : AllResultCodes())
            {
                List(environment, Explain(info));
            }
            for (const HResultInfo& info : AllHResults())
            {
                List(environment, Explain(info));
            }
            return ExitCode::Success;
        }
        Print(environment, Find(ParseUnsigned(m_code).value_or(0)));
        return ExitCode::Success;
    }

private:
    // Throws Failure for a code that nobody here knows.
    static Explanation Find(unsigned int code)
    {
        if (const ResultCodeInfo* const info = FindResultCode(static_cast<int>(code)); info != nullptr)
        {
            return Explain(*info);
        }
        if (const HResultInfo* const info = FindHResult(code); info != nullptr)
        {
            return Explain(*info);
        }
        throw Failure{ExitCode::BadInput, HexCode(static_cast<int>(code)) +
                                              " is no code of the module and none of WMI's or COM's that calls of the "
                                              "module fail with; wmihost explain lists those"};
    }

    static JsonObject ToJson(const Explanation& explanation)
    {
        return JsonObject{}
            .Add("code", explanation.code)
            .Add("name", explanation.name)
            .Add("meaning", explanation.meaning)
            .Add("causes", explanation.causes)
            .Add("advice", explanation.advice);
    }

    static void List(Environment& environment, const Explanation& explanation)
    {
        environment.Output().WriteLine(environment.Options().json
                                           ? ToJson(explanation).Text()
                                           : explanation.code + "  " + explanation.name + ": " + explanation.meaning);
    }

    static void Print(Environment& environment, const Explanation& explanation)
    {
        List(environment, explanation);
        if (environment.Options().json)
        {
            return;
        }
        if (!explanation.causes.empty())
        {
            environment.Output().WriteLine("  Likely: " + explanation.causes);
        }
        if (!explanation.advice.empty())
        {
            environment.Output().WriteLine("  To do:  " + explanation.advice);
        }
    }

    std::string m_code;
};

} // namespace

std::unique_ptr<Command> MakeExplainCommand()
{
    return std::make_unique<ExplainCommand>();
}

} // namespace Zv::Host
