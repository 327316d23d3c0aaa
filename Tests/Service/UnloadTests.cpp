// The module gives its memory back once when it is unloaded. Each case is a process of its own, on a guarded heap.

#include "Tests/Support/GuardHeap.h"
#include "Tests/Support/Module.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace
{

using namespace Zv::Testing;

// A request without members: the record's constructor throws inside the module.
void RaiseAndCatchInTheModule(const Module& module)
{
    const Service service{module};
    Session session{service.Get()};
    Run(service.Get(), session.Get(), 16, L"{}");
}

// Ends with 0 when nothing was freed twice.
template <class Act>
void ExpectCleanUnload(Act act)
{
    const auto run = [act] {
        SetEnvironmentVariableW(L"ZV_GUARD_HEAP", L"overrun");
        {
            const Module module;
            act(module);
        }
        std::_Exit(GetModuleHandleW(L"WMIService.dll") == nullptr && GuardHeap::Allocations() > 0 ? 0 : 1);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

TEST(UnloadDeathTest, AfterAnExceptionOnTheThreadThatUnloads)
{
    ExpectCleanUnload(&RaiseAndCatchInTheModule);
}

TEST(UnloadDeathTest, AfterAnExceptionOnAThreadThatHasEnded)
{
    ExpectCleanUnload([](const Module& module) { std::thread{RaiseAndCatchInTheModule, std::cref(module)}.join(); });
}

// Returns when it has raised.
void RaiseOnAThreadThatGoesOn(const Module& module)
{
    const HANDLE raised = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread{[&module, raised] {
        RaiseAndCatchInTheModule(module);
        SetEvent(raised);
        Sleep(INFINITE);
    }}.detach();
    WaitForSingleObject(raised, INFINITE);
}

TEST(UnloadDeathTest, AfterAnExceptionOnAThreadThatGoesOn)
{
    ExpectCleanUnload(&RaiseOnAThreadThatGoesOn);
}

TEST(UnloadDeathTest, AfterExceptionsOnThreadsOfWhichTheFirstHasEndedAndTheOthersGoOn)
{
    ExpectCleanUnload([](const Module& module) {
        std::thread{[&module] {
            RaiseAndCatchInTheModule(module);
            RaiseOnAThreadThatGoesOn(module);
            RaiseOnAThreadThatGoesOn(module);
        }}.join();
    });
}

} // namespace
