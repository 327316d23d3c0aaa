// A module on a simulated machine, with everything that it does on the books and any of its calls made to fail.
#pragma once

#include "Simulator/AutomationWatch.h"
#include "Simulator/Machine.h"
#include "Simulator/User/UserSession.h"
#include "Tests/Faults/FaultBox.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/ModuleHeap.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Transcript.h"

#include <combaseapi.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Testing
{

// Of one load of the module. One at a time per process, for one thread: the module's threads do not start, their bodies
// are kept to be run.
class Stage
{
    // The module leaves COM once too often, by contract, where joining it failed. That must not cost the thread the
    // apartment in which the machine's objects live.
    class ApartmentHold
    {
    public:
        ApartmentHold() { CoIncrementMTAUsage(&m_cookie); }
        ApartmentHold(const ApartmentHold&) = delete;
        ApartmentHold& operator=(const ApartmentHold&) = delete;
        ~ApartmentHold() { CoDecrementMTAUsage(m_cookie); }

    private:
        CO_MTA_USAGE_COOKIE m_cookie = nullptr;
    };

    const ApartmentHold m_apartment;

public:
    Stage(HMODULE module, Simulator::Machine& simulated);
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage();

    // A new run: log and launches are forgotten. The steps are played, one after the other, whenever a registration
    // waits and nothing has happened. When there are no more, it is stopped from outside.
    void Begin(std::vector<std::function<void()>> newSteps = {});
    [[nodiscard]] bool WasStoppedFromOutside() const noexcept { return m_stoppedFromOutside; }
    // Programs that were started for the user, "application|command line|folder".
    [[nodiscard]] const std::vector<std::wstring>& Launches() const noexcept { return m_launches; }

    // What is held and was not before, in words; empty when there is nothing.
    [[nodiscard]] std::string TakeLeftovers();
    // How often COM was joined and not left; negative when it was left too often. It is joined then as it was before.
    [[nodiscard]] int TakeJoins();
    // Interfaces of the machine that were held at a leave of COM which took the thread's joins to 0, in words: they
    // were released behind it, if at all. On Windows what they point into may be gone by then.
    [[nodiscard]] std::string TakeHeldWhenLeft() { return std::exchange(m_heldWhenLeft, {}); }
    // Whether the thread still acts as the user; it does not any more.
    [[nodiscard]] bool TakeImpersonation();

    // Bodies of the threads that were to be started.
    std::vector<std::function<void()>> threads;

    // In the order in which they stand on each other.
    Simulator::Machine& machine;
    Transcript transcript;
    FaultPlan plan;
    Ledgers ledgers;
    const std::unique_ptr<Simulator::UserSession> user;
    const Simulator::AutomationWatch automation;
    PlatformCalls calls;
    ModuleHeap heap;
    FaultBox box;

private:
    void RedirectPlatform();
    [[nodiscard]] DWORD Wait(DWORD count, const HANDLE* handles, BOOL all);

    std::vector<std::function<void()>> m_steps;
    std::size_t m_nextStep = 0;
    bool m_stoppedFromOutside = false;
    std::string m_heldWhenLeft;
    std::vector<std::wstring> m_launches;
    long m_comBlocks;        // that are nobody's leftovers
    const ImportGate m_gate; // in front of everything else
};

} // namespace Zv::Testing
