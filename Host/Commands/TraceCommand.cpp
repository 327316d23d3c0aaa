#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"

#include <string>
#include <vector>

namespace Zv::Host
{

namespace
{

constexpr char Details[] = R"(Runs the other subcommand, and shows on standard error each call of the platform that the
module makes for it, in their order: its arguments, its result, and how long it took;
calls of COM objects and the lines of the log, too. A call within another is indented; the
number in brackets is the thread. A call that is not over when the next line comes has a
line at its beginning, and one at its end that begins with "...".

Its own options come first, then the subcommand with all of its options, the common ones
among them. With --json or --ndjson the trace is an object per line: {"n":N,"thread":N,
"depth":N,"call":TEXT,"arguments":{...},"result":TEXT,"results":{...},"ms":N}, written
when the call ends (n is the order in which they began), or {"n":N,...,"log":LEVEL,
"context":TEXT,"text":TEXT}; the result of a call that did not return is null.

Passwords, serial numbers and user names are not shown; nor are the firmware's bytes,
which may hold any of them, unless --data is given.)";

constexpr char Examples[] = R"(wmihost trace get Win32_BaseBoard Product
wmihost trace --out trace.txt firmware 1 1 --out 128
wmihost trace --json --out trace.ndjson events --count 1 --simulate machine.json)";

class TraceCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "trace"; }
    [[nodiscard]] const char* Description() const noexcept override
    {
        return "Run another subcommand and show the module's calls of the platform";
    }
    [[nodiscard]] HelpText Help() const noexcept override { return {Details, Examples}; }
    // Those of the other subcommand.
    [[nodiscard]] std::vector<OutputFormat> Formats() const override
    {
        return {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines, OutputFormat::Csv};
    }
    [[nodiscard]] const char* WhyNotInShell() const noexcept override
    {
        return "it begins before the module is loaded; wmihost trace shell traces all of a shell";
    }
    [[nodiscard]] bool TakesSecrets() const noexcept override { return true; }

    void Declare(CLI::App& parser) override
    {
        parser.add_flag("--json,--ndjson", m_trace.json, "Write the trace as JSON, an object per line");
        parser.add_option("--out", m_trace.fileName, "Write the trace to this file")->type_name("FILE");
        parser.add_flag("--data", m_trace.data, "Show the firmware's bytes");
        parser.add_flag("--memory", m_trace.memory, "Show calls that only take and give memory, too");
        // What follows is the other subcommand's, whatever it looks like.
        parser.prefix_command();
        parser.fallthrough(false);
        m_parser = &parser;
    }

    [[nodiscard]] std::optional<std::vector<std::string>> Another(GlobalOptions& options) const override
    {
        if (options.trace)
        {
            throw Failure{ExitCode::BadInput,
                          "wmihost trace: traces any subcommand but itself; see wmihost trace --help"};
        }
        std::vector<std::string> rest = m_parser->remaining();
        if (rest.empty())
        {
            throw Failure{ExitCode::BadInput, "wmihost trace: a subcommand is missing; see wmihost trace --help"};
        }
        options.trace = m_trace;
        return rest;
    }

    [[nodiscard]] ExitCode Run(Environment&) override { return ExitCode::InternalError; } // the other one is run

private:
    Tracing::TraceOptions m_trace;
    const CLI::App* m_parser = nullptr;
};

} // namespace

std::unique_ptr<Command> MakeTraceCommand()
{
    return std::make_unique<TraceCommand>();
}

} // namespace Zv::Host
