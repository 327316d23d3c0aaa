#include "Host/Commands/CommandTable.h"
#include "Host/Doctor/ModuleExamination.h"
#include "Host/Doctor/UserExamination.h"
#include "Host/Doctor/WmiExamination.h"
#include "Host/Recording/ComMembership.h"
#include "Host/Terminal/Style.h"
#include "Host/Text/Json.h"

#include <algorithm>
#include <string>

namespace Zv::Host
{

namespace
{

using State = Finding::State;

const char* NameOf(State state) noexcept
{
    switch (state)
    {
    case State::Ok:
        return "ok";
    case State::Missing:
        return "missing";
    case State::Unknown:
        break;
    }
    return "unknown";
}

int Count(const Findings& findings, State state)
{
    return static_cast<int>(
        std::ranges::count_if(findings, [state](const Finding& finding) { return finding.state == state; }));
}

Style StyleOf(State state) noexcept
{
    switch (state)
    {
    case State::Ok:
        return Style::Good;
    case State::Missing:
        return Style::Error;
    case State::Unknown:
        break;
    }
    return Style::Warning;
}

bool HasSameAdvice(const Finding& one, const Finding& other)
{
    return one.meaning == other.meaning && one.advice == other.advice;
}

// A line per finding; what a lack means and what to do stands below those that have it in common.
std::string Text(const Findings& findings, const Console& output)
{
    constexpr std::size_t stateWidth = 9;
    std::size_t width = 0;
    for (const Finding& finding : findings)
    {
        width = std::max(width, finding.subject.size());
    }
    std::string text;
    for (auto finding = findings.begin(); finding != findings.end(); ++finding)
    {
        const std::string state = NameOf(finding->state);
        text += output.OnOutput(StyleOf(finding->state), state) + std::string(stateWidth - state.size(), ' ') +
                finding->subject;
        text += finding->detail.empty() ? std::string{}
                                        : std::string(width + 2 - finding->subject.size(), ' ') + finding->detail;
        text += '\n';
        const auto next = finding + 1;
        if (finding->state != State::Ok && (next == findings.end() || !HasSameAdvice(*finding, *next)))
        {
            const std::string indent(stateWidth + 2, ' ');
            text += indent + "Means: " + finding->meaning + '\n' + indent + "To do: " + finding->advice + '\n';
        }
    }
    return text + '\n' + std::to_string(Count(findings, State::Ok)) + " ok, " +
           std::to_string(Count(findings, State::Missing)) + " missing, " +
           std::to_string(Count(findings, State::Unknown)) + " unknown\n";
}

std::string Json(const Finding& finding)
{
    return JsonObject{}
        .Add("state", NameOf(finding.state))
        .Add("subject", finding.subject)
        .Add("detail", finding.detail)
        .Add("meaning", finding.meaning)
        .Add("advice", finding.advice)
        .Text();
}

std::string Json(const Findings& findings)
{
    std::string list;
    for (const Finding& finding : findings)
    {
        list += (list.empty() ? "" : ",") + Json(finding);
    }
    return JsonObject{}
        .AddJson("findings", '[' + list + ']')
        .Add("ok", Count(findings, State::Ok))
        .Add("missing", Count(findings, State::Missing))
        .Add("unknown", Count(findings, State::Unknown))
        .Text();
}

class DoctorCommand : public Command
{
public:
    DoctorCommand()
        : Command{{.name = "doctor",
                   .summary = "Tell what this machine has and lacks for the module",
                   .details = R"(Looks for all that the module works with: its files, WMI's namespaces, the firmware's
classes of commands, settings and events, the board, the hotkeys, the signed-in user and
the companion apps' packages. Each is ok, missing or unknown; below what is not ok stands
what that means and what to do. Nothing is changed, no hotkey armed, no method run.

With --json: {"findings":[{"state":"ok|missing|unknown","subject":TEXT,"detail":TEXT,
"meaning":TEXT,"advice":TEXT}, ...],"ok":N,"missing":N,"unknown":N}; with --ndjson a
finding per line.

Exit code 8: something is missing. What is unknown does not count.)",
                   .examples = R"(wmihost doctor
wmihost doctor --simulate machine.json
wmihost doctor --ndjson)",
                   .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
    {
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        const Findings findings = Examine(environment);
        Print(findings, environment.Output(), environment.Options().format);
        return Count(findings, State::Missing) == 0 ? ExitCode::Success : ExitCode::SomethingMissing;
    }

private:
    static void Print(const Findings& findings, Console& output, OutputFormat format)
    {
        if (format == OutputFormat::Text)
        {
            output.Write(Text(findings, output));
            return;
        }
        if (format == OutputFormat::Json)
        {
            output.WriteLine(Json(findings));
            return;
        }
        for (const Finding& finding : findings)
        {
            output.WriteLine(Json(finding));
        }
    }

    static Findings Examine(Environment& environment)
    {
        Findings findings = ExamineModule(environment);
        const auto add = [&findings](const Findings& more) {
            findings.insert(findings.end(), more.begin(), more.end());
        };
        if (environment.Options().simulateFile.empty())
        {
            add(ExamineAccount());
        }
        Session& session = environment.OpenSession();
        const ComMembership membership;
        Simulation* const simulation = environment.Simulated();
        add(WmiExamination{session, simulation != nullptr ? &simulation->Machine() : nullptr,
                           environment.GetInterruption()}
                .Result());
        add(ExamineUser(environment));
        return findings;
    }
};

} // namespace

std::unique_ptr<Command> MakeDoctorCommand()
{
    return std::make_unique<DoctorCommand>();
}

} // namespace Zv::Host
