// The module on the simulated notebook, for threads that meet in it again and again.
#pragma once

#include "Simulator/AutomationWatch.h"
#include "Simulator/Machine.h"
#include "Tests/Support/FaultPlan.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Transcript.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{

struct SimulatedModule
{
    // After each meeting, whose sessions have ended.
    void ExpectNothingLeft()
    {
        EXPECT_EQ(machine.Subscriptions(), 0u);
        EXPECT_EQ(machine.Outstanding().Total(), 0u) << machine.Outstanding().Describe();
        EXPECT_EQ(Narrow(ledgers.Outstanding()), "");
        transcript.Clear();
        plan.Clear();
    }

    Transcript transcript;
    FaultPlan plan;
    Ledgers ledgers;
    Module module;
    Simulator::Machine machine = Simulator::Machine::Load(ZV_MACHINES "/notebook.json");
    Service service{module};
    const Simulator::AutomationWatch automation{machine, module.Handle()};
    PlatformCalls calls{module.Handle(), transcript, plan, ledgers};
};

} // namespace Zv::Testing
