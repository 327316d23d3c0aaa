// The module's load, its factory and its end, with a call failing.
#pragma once

#include "Simulator/Machine.h"
#include "Tests/Faults/Scenario.h"

#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

// Loads the module, makes a service and a session, sends a command that fails, and takes it all down again. The calls
// of the module's entry point, of its static objects and of the run time linked into it are among those that fail: they
// are led through the gate before any of the module's code has run.
class ModuleLife final : public Scenario
{
public:
    ModuleLife(std::string name, const char8_t* machine);

    [[nodiscard]] Seen Run(const std::optional<PlannedFault>& fault) override;
    [[nodiscard]] bool IsOfClient(const std::wstring& context) const override;
    [[nodiscard]] std::vector<MadeCall> Calls() const override { return m_calls; }
    [[nodiscard]] bool Struck() const override { return m_struck; }
    [[nodiscard]] bool LeavesNothingBehind() const override { return true; }
    // On the module loaded once more.
    [[nodiscard]] bool RunGoodCommand() override;

private:
    Simulator::Machine m_machine;
    std::vector<MadeCall> m_calls;
    bool m_struck = false;
};

} // namespace Zv::Testing
