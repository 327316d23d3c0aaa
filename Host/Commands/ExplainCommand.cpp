#include "Host/Commands/CommandTable.h"
#include "Host/Explain/HResults.h"
#include "Host/Explain/LogLineSearch.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/Numbers.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Zv::Host
{

namespace
{

struct Explanation
{
    std::string line;
    std::vector<std::pair<const char*, std::string>> details; // label and text, which may be empty
    JsonObject json;
};

Explanation Explain(const std::string& code, const char* name, const char* meaning, const char* causes,
                    const char* advice)
{
    return {code + "  " + name + ": " + meaning,
            {{"Likely:", causes}, {"To do: ", advice}},
            JsonObject{}
                .Add("code", code)
                .Add("name", name)
                .Add("meaning", meaning)
                .Add("causes", causes)
                .Add("advice", advice)};
}

Explanation Explain(const ResultCodeInfo& info)
{
    return Explain(HexCode(info.code), info.name, info.meaning, info.causes, info.advice);
}

Explanation Explain(const HResultInfo& info)
{
    return Explain(HexCode(static_cast<int>(info.code)), info.name, info.meaning, "", info.advice);
}

Explanation Explain(const LogLineInfo& info)
{
    return {info.level + std::string{"  "} + info.text,
            {{"By:    ", info.source}, {"Likely:", info.causes}, {"To do: ", info.advice}},
            JsonObject{}
                .Add("level", info.level)
                .Add("text", info.text)
                .Add("source", info.source)
                .Add("causes", info.causes)
                .Add("advice", info.advice)};
}

std::vector<Explanation> ExplainAll()
{
    std::vector<Explanation> all;
    const auto explain = [&all](const auto& table) {
        std::ranges::transform(table, std::back_inserter(all), [](const auto& info) { return Explain(info); });
    };
    explain(AllResultCodes());
    explain(AllHResults());
    explain(AllLogLines());
    return all;
}

// Throws Failure for a code that nobody here knows.
Explanation ExplainCode(unsigned int code)
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

// The line, and the status that it ends with. Throws Failure for one that nobody here knows.
std::vector<Explanation> ExplainLine(const std::string& line)
{
    std::vector<Explanation> found;
    for (const LogLineInfo& info : FindLogLines(line))
    {
        found.push_back(Explain(info));
    }
    if (found.empty())
    {
        throw Failure{ExitCode::BadInput, "\"" + line +
                                              "\" is neither a code like 0x2000000f nor in a line that the module "
                                              "logs; wmihost explain lists those"};
    }
    constexpr std::string_view label = "HRESULT ";
    if (const std::size_t status = line.find(label); status != std::string::npos)
    {
        const std::optional<unsigned int> code = ParseUnsigned(line.substr(status + label.size()));
        if (const HResultInfo* const info = code ? FindHResult(*code) : nullptr; info != nullptr)
        {
            found.push_back(Explain(*info));
        }
    }
    return found;
}

std::vector<std::string> AllCodes()
{
    std::vector<std::string> codes;
    for (const ResultCodeInfo& info : AllResultCodes())
    {
        codes.push_back(HexCode(info.code));
    }
    for (const HResultInfo& info : AllHResults())
    {
        codes.push_back(HexCode(static_cast<int>(info.code)));
    }
    return codes;
}

class ExplainCommand : public Command
{
public:
    ExplainCommand()
        : Command{
              {.name = "explain",
               .summary = "Say what a result code, an HRESULT or a line of the log means",
               .details =
                   R"(A code is decimal, or hexadecimal behind 0x. A line of the log is one as the module wrote it, or some words of it.
Without either, all codes and lines are listed; with --json or --ndjson an object per line.)",
               .examples = R"(wmihost explain 0x2000000f
wmihost explain 0x80041017
wmihost explain 536870914 --json
wmihost explain "unable to create event, GetLastError = 5"
wmihost explain ConnectServer)",
               .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
    {
        m_arguments
            .Positional("CODE-OR-LINE", m_words, "A code of the module's, of WMI's or COM's; or a line of the log")
            .Tab(AllCodes);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const bool all = m_words.empty();
        for (const Explanation& explanation : all ? ExplainAll() : Find())
        {
            Print(environment, explanation, !all);
        }
        return ExitCode::Success;
    }

private:
    [[nodiscard]] std::vector<Explanation> Find() const
    {
        std::string text;
        for (const std::string& word : m_words)
        {
            text += (text.empty() ? "" : " ") + word;
        }
        const std::optional<unsigned int> code = ParseUnsigned(text);
        return code ? std::vector{ExplainCode(*code)} : ExplainLine(text);
    }

    static void Print(Environment& environment, const Explanation& explanation, bool withDetails)
    {
        if (environment.Options().PrintsJson())
        {
            environment.Output().WriteLine(explanation.json.Text());
            return;
        }
        environment.Output().WriteLine(explanation.line);
        for (const auto& [label, text] : explanation.details)
        {
            if (withDetails && !text.empty())
            {
                environment.Output().WriteLine(std::string{"  "} + label + ' ' + text);
            }
        }
    }

    std::vector<std::string> m_words;
};

} // namespace

std::unique_ptr<Command> MakeExplainCommand()
{
    return std::make_unique<ExplainCommand>();
}

} // namespace Zv::Host
