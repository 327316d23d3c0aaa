#include "Tests/Faults/OnOneModule.h"

#include "Interception/ModuleExports.h"

#include <utility>

namespace Zv::Testing
{

namespace
{

// The run time keeps a few blocks per thread from the first exception on.
HMODULE WarmedUp(const Module& module, const Service& service)
{
    Session session{service.Get(), ScenarioClient};
    static_cast<void>(Testing::Run(service.Get(), session.Get(), 16, L"{}"));
    return module.Handle();
}

} // namespace

OnOneModule::OnOneModule(std::string name, Group group, const char8_t* machine)
    : Scenario{std::move(name), group},
      m_machine{Simulator::Machine::Load(machine)},
      m_service{m_module},
      m_stage{WarmedUp(m_module, m_service), m_machine}
{
    Interception::BindModuleExports(m_module.Handle());
}

Seen OnOneModule::Run(const std::optional<PlannedFault>& fault)
{
    Seen seen;
    m_stage.Begin();
    Act(fault, seen);
    seen.log = m_stage.transcript.Log();
    seen.stoppedFromOutside = m_stage.WasStoppedFromOutside();
    seen.joins = m_stage.TakeJoins();
    seen.heldWhenLeft = m_stage.TakeHeldWhenLeft();
    seen.impersonated = m_stage.TakeImpersonation();
    seen.left += m_stage.TakeLeftovers();
    return seen;
}

} // namespace Zv::Testing
