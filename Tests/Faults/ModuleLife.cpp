#include "Tests/Faults/ModuleLife.h"

#include "Interception/LoadWatch.h"
#include "Tests/Faults/Stage.h"
#include "Tests/Support/Module.h"

#include <memory>
#include <utility>

namespace Zv::Testing
{

namespace
{

// The thread-local slot that the next one who asks gets: one that was not given back moves it.
DWORD NextThreadLocalSlot()
{
    const DWORD slot = TlsAlloc();
    TlsFree(slot);
    return slot;
}

// With a command that fails: the module's first exception, for which its run time makes a record of the thread.
void LoadUseAndUnload(Seen& seen)
{
    const Module module; // throws when it does not load
    try
    {
        const Service service{module};
        Session session{service.Get(), ScenarioClient};
        Note(seen, "command",
             Testing::Run(service.Get(), session.Get(), static_cast<unsigned int>(FunctionNumber::GetWmiPropertyValue),
                          L"{}"));
    }
    catch (...)
    {
        seen.raised = true;
    }
}

} // namespace

ModuleLife::ModuleLife(std::string name, const char8_t* machine)
    : Scenario{std::move(name), Load},
      m_machine{Simulator::Machine::Load(machine)}
{
}

bool ModuleLife::IsOfClient(const std::wstring& context) const
{
    return context == ScenarioClient;
}

Seen ModuleLife::Run(const std::optional<PlannedFault>& fault)
{
    const DWORD slot = NextThreadLocalSlot();
    std::unique_ptr<Stage> stage;
    Interception::LoadWatch watch{L"WMIService.dll", [&](HMODULE module) {
                                      stage = std::make_unique<Stage>(module, m_machine);
                                      stage->Begin();
                                      stage->box.Arm(fault);
                                  }};
    Seen seen;
    LoadUseAndUnload(seen);
    watch.Rethrow();
    stage->box.Disarm();
    if (!fault)
    {
        m_calls = stage->box.Calls();
    }
    m_struck = stage->box.Struck();
    seen.log = stage->transcript.Log();
    seen.joins = stage->TakeJoins();
    seen.heldWhenLeft = stage->TakeHeldWhenLeft();
    seen.left = stage->TakeLeftovers();
    if (GetModuleHandleW(L"WMIService.dll") != nullptr)
    {
        seen.left += "the module itself\n";
    }
    if (NextThreadLocalSlot() != slot)
    {
        seen.left += "a thread-local slot\n";
    }
    return seen;
}

bool ModuleLife::RunGoodCommand()
{
    const Module module;
    Stage stage{module.Handle(), m_machine};
    const Service service{module};
    return SucceedsOn(service.Get());
}

} // namespace Zv::Testing
