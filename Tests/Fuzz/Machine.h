// A machine whose every answer is the fuzzer's choice.
#pragma once

#include "Tests/Fuzz/Answers.h"
#include "Tests/Support/FakeEvents.h"
#include "Tests/Support/FakeWmi.h"
#include "Tests/Support/PlatformCalls.h"

#include <memory>

namespace Zv::Fuzz
{

// While it lives, the module's CoCreateInstance leads to WMI objects that take their answers from `Use`. One thread.
class Machine
{
public:
    Machine(Testing::PlatformCalls& calls, Testing::Transcript& transcript, Testing::FaultPlan& plan);
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    // From here on the answers are these. To be called before the first command.
    void Use(Answers& answers) noexcept;

    // Delivers one event, or a call that is none, to the module's subscriptions. What the sink throws comes out.
    void Deliver();

    // References that the module holds now, its subscriptions included.
    [[nodiscard]] int Outstanding() const noexcept { return m_state->references; }

    struct State : Testing::FakeWmiState
    {
        State(Testing::Transcript& calls, Testing::FaultPlan& faults, const Testing::WmiScript& objects)
            : FakeWmiState{calls, faults, objects}
        {
        }
        Answers* answers = nullptr;
        Testing::EventSource events;
        std::uint32_t returnSize = 0; // that the last firmware method was asked for
        int locatorsDenied = 0;
    };

    // How often a locator was denied since Use: each time the module leaves COM joined, by contract.
    [[nodiscard]] int LocatorsDenied() const noexcept { return m_state->locatorsDenied; }

private:
    Testing::PlatformCalls& m_calls;
    Testing::WmiScript m_noScript;
    std::shared_ptr<State> m_state;
};

} // namespace Zv::Fuzz
