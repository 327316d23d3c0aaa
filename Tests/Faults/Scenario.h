// What the module is made to do, again and again, with a call failing.
#pragma once

#include "Tests/Faults/FaultBox.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Transcript.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

// Scenarios of which the same failures are expected; bits, so that an expectation can be of several.
enum Group : unsigned int
{
    FirmwareCommand = 1,
    PropertyCommand = 2,
    TextCommand = 4,
    SettingCommand = 8,
    Registration = 16,
    OtherCommand = 32, // no WMI
    SessionsAndService = 64,
    StartUp = 128,
    Hotkey = 256,
    LauncherCall = 512,
    Load = 1024,
    EveryGroup = 2047
};

// The machine that scenarios run on, and their client.
inline constexpr char8_t ScenarioMachine[] = ZV_MACHINES "/notebook.json";
inline constexpr wchar_t ScenarioClient[] = L"test client";

// What a host saw of a run.
struct Seen
{
    std::map<std::string, int> codes; // by the call
    std::vector<std::wstring> texts;  // responses, events, programs, in order
    std::vector<LogLine> log;
    bool raised = false;             // a C++ exception came out
    bool impersonated = false;       // the thread went on as the user
    bool stoppedFromOutside = false; // a registration that nothing else ended
    std::string left;                // over
    int joins = 0;                   // of COM, not left
    std::string heldWhenLeft;        // interfaces that were not released when COM was left
};

class Scenario
{
public:
    Scenario(std::string name, Group group) : m_name{std::move(name)}, m_group{group} {}
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;
    virtual ~Scenario() = default;

    [[nodiscard]] const std::string& Name() const noexcept { return m_name; }
    [[nodiscard]] Group OfGroup() const noexcept { return m_group; }

    [[nodiscard]] virtual Seen Run(const std::optional<PlannedFault>& fault) = 0;
    // Whether a log line's context is that of a client of this scenario.
    [[nodiscard]] virtual bool IsOfClient(const std::wstring& context) const = 0;
    // Of the last run without a fault.
    [[nodiscard]] virtual std::vector<MadeCall> Calls() const = 0;
    // Whether the fault of the last run was met.
    [[nodiscard]] virtual bool Struck() const = 0;
    // Whether a run ends with the module unloaded, so that the next one cannot be touched by it.
    [[nodiscard]] virtual bool LeavesNothingBehind() const { return false; }
    // A command that has nothing to do with the scenario, in the same process; whether it succeeds.
    [[nodiscard]] virtual bool RunGoodCommand() = 0;

private:
    const std::string m_name;
    const Group m_group;
};

// Adds what a host got from a call.
void Note(Seen& seen, const std::string& call, const Reply& reply);

// Whether a command with no more to it than a look at a property of the simulated notebook succeeds.
[[nodiscard]] bool SucceedsOn(ZVService* service);

// Names of the scenarios of the groups.
[[nodiscard]] std::vector<std::string> ScenariosOf(Group groups);
// Throws std::out_of_range. Knows some more, in brackets, in which faults have bad ends.
[[nodiscard]] std::unique_ptr<Scenario> MakeScenario(const std::string& name);

} // namespace Zv::Testing
