// Scenarios that leave the module loaded.
#pragma once

#include "Simulator/Machine.h"
#include "Tests/Faults/Scenario.h"
#include "Tests/Faults/Stage.h"
#include "Tests/Support/Module.h"

#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

// The calls made while it lives are those that the scenario is about.
class Armed
{
public:
    Armed(FaultBox& box, const std::optional<PlannedFault>& fault) : m_box{box} { m_box.Arm(fault); }
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;
    ~Armed() { m_box.Disarm(); }

private:
    FaultBox& m_box;
};

// On one module, which stays loaded.
class OnOneModule : public Scenario
{
public:
    [[nodiscard]] Seen Run(const std::optional<PlannedFault>& fault) final;
    [[nodiscard]] bool IsOfClient(const std::wstring& context) const final { return context == ScenarioClient; }
    [[nodiscard]] std::vector<MadeCall> Calls() const final { return m_stage.box.Calls(); }
    [[nodiscard]] bool Struck() const final { return m_stage.box.Struck(); }
    [[nodiscard]] bool RunGoodCommand() final { return SucceedsOn(m_service.Get()); }

protected:
    OnOneModule(std::string name, Group group, const char8_t* machine);

    virtual void Act(const std::optional<PlannedFault>& fault, Seen& seen) = 0;

    [[nodiscard]] Stage& TheStage() noexcept { return m_stage; }
    [[nodiscard]] ZVService* TheService() const noexcept { return m_service.Get(); }
    [[nodiscard]] const Module& TheModule() const noexcept { return m_module; }
    [[nodiscard]] Reply Command(void* session, FunctionNumber function, const std::wstring& request) const
    {
        return Testing::Run(TheService(), session, static_cast<unsigned int>(function), request.c_str());
    }

private:
    Module m_module;
    Simulator::Machine m_machine;
    Service m_service; // made before the books are opened
    Stage m_stage;
};

} // namespace Zv::Testing
