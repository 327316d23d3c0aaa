#include "Host/Client/BoardId.h"
#include "Host/CommandParts/FirmwareEvent.h"
#include "Host/CommandParts/StartedProcessText.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Watch/HotkeyWatch.h"

#include "Simulator/State/Worker.h"

#include <exception>
#include <functional>
#include <optional>

namespace Zv::Host
{

namespace
{

// How long the start of the service and each key may take.
constexpr DWORD Limit = 30'000;
constexpr std::chrono::milliseconds RetryTime{20};

// Does something that may hang in the module, and ends the process if it does.
void RunBounded(const Environment& environment, const std::string& what, const std::function<void()>& body)
{
    const LegTimes::Leg leg{environment.Times(), what};
    const Interruption& interruption = environment.GetInterruption();
    std::exception_ptr thrown;
    const Simulator::Worker worker{[&] {
        try
        {
            body();
        }
        catch (...)
        {
            thrown = std::current_exception();
        }
    }};
    if (!worker.WaitFor(Limit))
    {
        interruption.EndProcess(
            Failure{ExitCode::CommandFailed, what + " has not ended after " + std::to_string(Limit / 1000) + " s"});
    }
    if (thrown)
    {
        std::rethrow_exception(thrown);
    }
    interruption.Check();
}

// Whether an app's hotkeys are armed, and why or why not.
struct Arming
{
    bool armed = false;
    std::string why;
};

Arming ArmingOf(const HotkeyWatch& watch, std::size_t app, const std::optional<std::string>& board)
{
    const HotkeyApp& hotkeyApp = HotkeyApps()[app];
    const HotkeyWatch::App seen = watch.Of(app);
    const std::size_t all = hotkeyApp.constants.hotkeyEventIds.size();
    if (seen.notSupported)
    {
        return {false, hotkeyApp.WhyByBoard(board)};
    }
    if (!seen.isRunning)
    {
        return {false, "the start-up task failed"};
    }
    if (seen.stopped > 0)
    {
        const std::string count = std::to_string(seen.stopped) + " of " + std::to_string(all) + " listeners gave up: ";
        return {seen.stopped < all, (seen.stopped < all ? count : "") + watch.WhyStopped(app)};
    }
    return {true, hotkeyApp.WhyByBoard(board)};
}

// An armed module, on a simulated machine.
class Hotkeys
{
public:
    explicit Hotkeys(Environment& environment)
        : m_environment{environment},
          m_service{environment.Service()},
          m_simulation{*environment.Simulated()},
          m_session{environment.OpenSession()}
    {
        environment.KeepSimulation();
    }
    Hotkeys(const Hotkeys&) = delete;
    Hotkeys& operator=(const Hotkeys&) = delete;
    ~Hotkeys() = default;

    void Start()
    {
        RunBounded(m_environment, "the service's start", [this] {
            m_board = ReadBoardId(m_session);
            m_service.startup_task();
        });
        // The listeners subscribe on threads of their own.
        const ULONGLONG end = GetTickCount64() + Limit;
        while (!m_simulation.Machine().WaitForSubscriptions(m_watch.Listeners(), RetryTime))
        {
            m_environment.GetInterruption().Check();
            if (GetTickCount64() > end)
            {
                throw Failure{ExitCode::CommandFailed,
                              "only " + std::to_string(m_simulation.Machine().Subscriptions()) + " of " +
                                  std::to_string(m_watch.Listeners()) + " listeners have subscribed after " +
                                  std::to_string(Limit / 1000) + " s"};
            }
        }
        for (std::size_t app = 0; app < HotkeyAppCount; ++app)
        {
            m_arming.at(app) = ArmingOf(m_watch, app, m_board);
        }
        static_cast<void>(m_watch.TakeProblems());
    }

    [[nodiscard]] const std::optional<std::string>& Board() const noexcept { return m_board; }
    [[nodiscard]] const Arming& Of(std::size_t app) const { return m_arming.at(app); }

    struct Outcome
    {
        const HotkeyApp* app = nullptr; // null: none listens for the event
        std::vector<Simulator::StartedProcess> started;
        std::string problem; // what was logged about it
    };
    [[nodiscard]] Outcome Press(const FirmwareEvent& event)
    {
        Simulator::Machine& machine = m_simulation.Machine();
        const std::size_t before = m_simulation.User().Started().size();
        if (machine.GetDescription().events.definition != nullptr)
        {
            RunBounded(m_environment, "event " + event.Text(), [&] {
                machine.FireEvent(event.id, event.data);
                // The module takes one event after the other, and drops one without data when its turn has come: the
                // call returns when the app's part in the first event is done.
                machine.FireEventWithoutData(event.id);
            });
        }
        Outcome outcome;
        for (std::size_t app = 0; app < HotkeyAppCount; ++app)
        {
            if (m_arming.at(app).armed && HotkeyApps()[app].ListensFor(event.id))
            {
                outcome.app = &HotkeyApps()[app];
            }
        }
        outcome.started = m_simulation.User().Started();
        outcome.started.erase(outcome.started.begin(), outcome.started.begin() + static_cast<std::ptrdiff_t>(before));
        outcome.problem = m_watch.TakeProblems();
        return outcome;
    }

private:
    const Environment& m_environment;
    Zv::Tessel::Server::Services::ZVService& m_service;
    Simulation& m_simulation;
    Session& m_session;
    HotkeyWatch m_watch;
    std::optional<std::string> m_board;
    std::array<Arming, HotkeyAppCount> m_arming;
};

void PrintArming(Console& output, const Hotkeys& hotkeys)
{
    output.WriteLine("board      " + hotkeys.Board().value_or("unknown"));
    for (std::size_t app = 0; app < HotkeyAppCount; ++app)
    {
        const HotkeyApp& hotkeyApp = HotkeyApps()[app];
        const Arming& arming = hotkeys.Of(app);
        const bool several = hotkeyApp.constants.hotkeyEventIds.size() > 1;
        std::string name = hotkeyApp.name;
        name.resize(11, ' ');
        output.WriteLine(name +
                         (arming.armed ? std::string{"armed for event"} + (several ? "s " : " ") + hotkeyApp.EventIds()
                                       : "not armed") +
                         ": " + arming.why);
    }
}

std::string JsonOfArming(const Hotkeys& hotkeys)
{
    std::string apps;
    for (std::size_t app = 0; app < HotkeyAppCount; ++app)
    {
        const Arming& arming = hotkeys.Of(app);
        std::string events = HotkeyApps()[app].EventIds();
        std::erase(events, ' ');
        apps += (apps.empty() ? "" : ",") + JsonObject{}
                                                .Add("app", HotkeyApps()[app].name)
                                                .AddJson("armed", arming.armed ? "true" : "false")
                                                .AddJson("events", '[' + events + ']')
                                                .Add("why", arming.why)
                                                .Text();
    }
    return JsonObject{}
        .AddJson("board", hotkeys.Board() ? JsonString(*hotkeys.Board()) : "null")
        .AddJson("apps", '[' + apps + ']')
        .Text();
}

void PrintPress(Console& output, const FirmwareEvent& event, const Hotkeys::Outcome& outcome)
{
    std::string text = "\nevent " + event.Text() + ": ";
    if (outcome.app == nullptr)
    {
        text += "no armed app listens for it";
    }
    else if (outcome.started.empty())
    {
        text += outcome.app->name +
                (outcome.problem.empty() ? std::string{" starts nothing for it"} : " not started: " + outcome.problem);
    }
    else
    {
        text += outcome.app->name + std::string{" started"};
    }
    text += '\n';
    for (const Simulator::StartedProcess& started : outcome.started)
    {
        text += TextOf(started);
    }
    output.Write(text);
}

std::string JsonOfPress(const FirmwareEvent& event, const Hotkeys::Outcome& outcome)
{
    std::string started;
    for (const Simulator::StartedProcess& process : outcome.started)
    {
        started += (started.empty() ? "" : ",") + JsonOf(process);
    }
    return JsonObject{}
        .Add("eventId", event.id)
        .Add("eventData", event.data)
        .AddJson("app", outcome.app != nullptr ? JsonString(outcome.app->name) : "null")
        .AddJson("started", '[' + started + ']')
        .Add("problem", outcome.problem)
        .Text();
}

class HotkeysCommand : public Command
{
public:
    HotkeysCommand()
        : Command{{.name = "hotkeys",
                   .summary = "Arm the companion apps' hotkeys on a simulated machine and press them",
                   .details = R"(Starts the service as a host does at its start, shows which companion apps' hotkeys are
armed and why or why not, and then presses keys: each --press is a firmware event, with
0 for DATA unless given, ID and DATA decimal or hexadecimal with 0x. After each it shows
what was started.

Launches are shown and not made, unless --launch-for-real is given and the app's package
in the description names a program ("executable").

With --json or --ndjson: a line {"board":TEXT,"apps":[{"app":TEXT,"armed":BOOL,
"events":[N, ...],"why":TEXT}, ...]}, then one per key {"eventId":N,"eventData":N,
"app":TEXT,"started":[{...}],"problem":TEXT}.

Exit code 1: an app should have been started and was not.)",
                   .examples = R"(wmihost hotkeys --simulate machine.json
wmihost hotkeys --simulate machine.json --press 20:0xff0000 --press 21)",
                   .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines},
                   .whyNotInShell = "the start-up task's threads would go on as long as the shell"}}
    {
        m_arguments.Option("--press", {m_presses, EventFrom}, "A key to press; may be given several times")
            .Type("ID[:DATA]")
            .OneEach();
        m_arguments.Flag("--launch-for-real", m_forReal, "Start the programs that the machine's packages name");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (environment.Options().simulateFile.empty())
        {
            throw Failure{ExitCode::BadInput, "wmihost hotkeys: --simulate is required; see wmihost hotkeys --help"};
        }
        environment.SetUserOptions({.launchForReal = m_forReal});
        Console& output = environment.Output();
        const bool json = environment.Options().PrintsJson();

        Hotkeys hotkeys{environment};
        hotkeys.Start();
        json ? output.WriteLine(JsonOfArming(hotkeys)) : PrintArming(output, hotkeys);

        bool failed = false;
        for (const FirmwareEvent& event : m_presses)
        {
            const Hotkeys::Outcome outcome = hotkeys.Press(event);
            json ? output.WriteLine(JsonOfPress(event, outcome)) : PrintPress(output, event, outcome);
            failed = failed || (outcome.started.empty() && !outcome.problem.empty());
        }
        return failed ? ExitCode::CommandFailed : ExitCode::Success;
    }

private:
    std::vector<FirmwareEvent> m_presses;
    bool m_forReal = false;
};

} // namespace

std::unique_ptr<Command> MakeHotkeysCommand()
{
    return std::make_unique<HotkeysCommand>();
}

} // namespace Zv::Host
