// Counts the calls that a module makes while it is armed, and makes one of them fail.
#pragma once

#include "Simulator/Machine.h"
#include "Tests/Faults/ImportGate.h"
#include "Tests/Faults/WaysToFail.h"

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

// A call that a run made.
struct MadeCall
{
    std::string dll;    // empty for a call on the simulated machine
    std::string name;   // of the function, or of the machine's site
    std::wstring about; // what a call on the machine was about
    int number = 0;     // among the calls of this name
    int last = 0;       // the number of the last call of this name
    int ofSupply = 0;   // number among the calls that draw on the same supply

    bool operator==(const MadeCall&) const = default;
    [[nodiscard]] bool IsOnMachine() const noexcept { return dll.empty(); }
};

enum class Mode
{
    Once,
    Onward, // that call and every later one of its kind
    Slow    // that call takes long, and succeeds
};

struct PlannedFault
{
    MadeCall call;
    Way way;
    Mode mode = Mode::Once;

    [[nodiscard]] std::string Describe() const;
};

// For one thread that calls the module.
class FaultBox final : public GateKeeper
{
public:
    explicit FaultBox(Simulator::Machine& machine) : m_machine{machine} {}

    // From here on calls are counted; the planned one fails. No fault: they are listed.
    void Arm(const std::optional<PlannedFault>& fault);
    void Disarm();
    // The calls of the last time without a fault, in their order: those of imports, then those on the machine.
    [[nodiscard]] std::vector<MadeCall> Calls() const;
    // Whether the call of the last time's fault was made.
    [[nodiscard]] bool Struck() const noexcept { return m_struck; }

    [[nodiscard]] bool Answers(const GatedImport& import, const CallArguments& arguments,
                               std::uint64_t& result) noexcept override;

private:
    struct Supply
    {
        std::string_view name;
        int calls = 0;
    };

    Simulator::Machine& m_machine;
    std::atomic<bool> m_armed = false;
    std::optional<PlannedFault> m_fault;
    std::string_view m_supply; // of the fault's function
    bool m_struck = false;
    int m_ofSupply = 0;
    std::size_t m_callsBefore = 0;          // of the fault's site on the machine
    std::vector<const GatedImport*> m_made; // without a fault; the gate lives longer than a time of being armed
    std::vector<MadeCall> m_calls;
};

} // namespace Zv::Testing
