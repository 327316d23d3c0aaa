// Everything that the COM objects of one machine share; they keep it alive.
#pragma once

#include "Simulator/Com/EventHub.h"
#include "Simulator/Com/PendingCalls.h"
#include "Simulator/Description/Description.h"
#include "Simulator/State/AutomationLedger.h"
#include "Simulator/State/CallGate.h"
#include "Simulator/State/MachineState.h"
#include "Simulator/State/References.h"

#include <memory>

namespace Zv::Simulator
{

struct Core
{
    explicit Core(Description given) : description{std::move(given)}, gate{description.faults}, state{description} {}
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;
    ~Core() = default;

    const Description description;
    References references;
    AutomationLedger ledger;
    CallGate gate;
    MachineState state;
    PendingCalls calls;
    std::shared_ptr<EventHub> events; // made by MakeCore
};

using CorePtr = std::shared_ptr<Core>;

// A description come to life.
[[nodiscard]] inline CorePtr MakeCore(Description description)
{
    auto core = std::make_shared<Core>(std::move(description));
    core->events = std::make_shared<EventHub>(core, core->description.events);
    return core;
}

} // namespace Zv::Simulator
