#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"

#include <string>
#include <vector>

namespace Zv::Host
{

namespace
{

class TraceCommand : public Command
{
public:
    TraceCommand()
        : Command{
              {.name = "trace",
               .summary = "Run another subcommand and show the module's calls of the platform",
               .details = R"(Runs the other subcommand, and shows on standard error each call of the platform that the
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
which may hold any of them, unless --data is given.)",
               .examples = R"(wmihost trace get Win32_BaseBoard Product
wmihost trace --out trace.txt firmware 1 1 --out 128
wmihost trace --json --out trace.ndjson events --count 1 --simulate machine.json)",
               .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines, OutputFormat::Csv},
               .takesSecrets = true,
               .whyNotInShell = "it begins before the module is loaded; wmihost trace shell traces all of a shell"}}
    {
        m_arguments.Flag("--json,--ndjson", m_trace.json, "Write the trace as JSON, an object per line");
        m_arguments.Option("--out", m_trace.fileName, "Write the trace to this file").Type("FILE");
        m_arguments.Flag("--data", m_trace.data, "Show the firmware's bytes");
        m_arguments.Flag("--memory", m_trace.memory, "Show calls that only take and give memory, too");
        // What follows is the other subcommand's, whatever it looks like.
        m_arguments.Rest(m_rest);
    }

    [[nodiscard]] std::optional<std::vector<std::string>> Another(GlobalOptions& options) const override
    {
        if (options.trace)
        {
            throw Failure{ExitCode::BadInput,
                          "wmihost trace: traces any subcommand but itself; see wmihost trace --help"};
        }
        if (m_rest.empty())
        {
            throw Failure{ExitCode::BadInput, "wmihost trace: a subcommand is missing; see wmihost trace --help"};
        }
        options.trace = m_trace;
        return m_rest;
    }

    [[nodiscard]] ExitCode Run(Environment&) override { return ExitCode::InternalError; } // the other one is run

private:
    Tracing::TraceOptions m_trace;
    std::vector<std::string> m_rest;
};

} // namespace

std::unique_ptr<Command> MakeTraceCommand()
{
    return std::make_unique<TraceCommand>();
}

} // namespace Zv::Host
