// Every call that the module makes, failing in every way in which it can fail. See docs/testing.md.
//   FaultTests.exe --list                     the scenarios
//   FaultTests.exe --list "SCENARIO"          its faults
//   FaultTests.exe --replay "SCENARIO" FAULT  one fault of one scenario, in this process
#include "Interception/ImportTable.h"
#include "Tests/Faults/FaultRun.h"
#include "Tests/Faults/Scenario.h"
#include "Tests/Faults/WaysToFail.h"
#include "Tests/Support/Module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Faults : public ::testing::TestWithParam<Group>
{
};

TEST_P(Faults, EachHasTheOutcomeThatItIsToHaveAndLeavesNothing)
{
    const std::vector<std::string> scenarios = ScenariosOf(GetParam());
    ASSERT_THAT(scenarios, ::testing::Not(IsEmpty()));

    const FaultRunResult result = RunFaults(scenarios);

    std::printf("%zu scenarios, %zu calls, %zu faults\n", result.scenarios, result.calls, result.faults);
    EXPECT_EQ(result.scenarios, scenarios.size());
    EXPECT_GT(result.faults, result.calls);
    EXPECT_EQ(result.complaints, 0u);
    EXPECT_THAT(result.breakdowns, IsEmpty());
}

// A suite each, so that they run side by side.
INSTANTIATE_TEST_SUITE_P(OfFirmwareCommands, Faults, ::testing::Values(FirmwareCommand));
INSTANTIATE_TEST_SUITE_P(OfOtherCommands, Faults,
                         ::testing::Values(PropertyCommand, TextCommand, SettingCommand, OtherCommand));
INSTANTIATE_TEST_SUITE_P(OfRegistrations, Faults, ::testing::Values(Registration));
INSTANTIATE_TEST_SUITE_P(OfSessions, Faults, ::testing::Values(SessionsAndService));
INSTANTIATE_TEST_SUITE_P(OfTheLoad, Faults, ::testing::Values(Load));
INSTANTIATE_TEST_SUITE_P(OfTheStartUpTask, Faults, ::testing::Values(StartUp));
INSTANTIATE_TEST_SUITE_P(OfHotkeys, Faults, ::testing::Values(Hotkey, LauncherCall));

TEST(FaultTable, KnowsHowEveryImportOfTheModuleFails)
{
    const Module module;
    const Interception::ImportTable table{module.Handle()};
    std::size_t excluded = 0;
    for (const Interception::Import& import : table.Imports())
    {
        const Failures* const failures = FailuresOf(import.dll, import.name);
        if (failures == nullptr)
        {
            ADD_FAILURE() << import.name << " of " << import.dll
                          << ": say in WaysToFail.cpp how it fails, that it cannot, or why it is left out";
        }
        else if (failures->kind == Failures::Kind::Excluded)
        {
            std::printf("left out: %s: %s\n", import.name.c_str(), std::string{failures->reason}.c_str());
            ++excluded;
        }
    }
    EXPECT_LT(excluded, table.Imports().size() / 4);
}

TEST(FaultRun, ACrashIsToldWithItsFaultAndTheRunGoesOn)
{
    const FaultRunResult result = RunFaults({"(crashing)"});

    EXPECT_EQ(result.scenarios, 1u);
    EXPECT_THAT(result.breakdowns, ElementsAre(HasSubstr("\"(crashing)\" 1: malloc"), HasSubstr("\"(crashing)\" 5: ")));
    EXPECT_THAT(result.breakdowns.front(), HasSubstr("exit code 0xc0000005"));
    EXPECT_EQ(result.complaints, 0u);
}

TEST(FaultRun, AHangIsEndedAndToldAndTheRunGoesOn)
{
    const FaultRunResult result = RunFaults({"(hanging)"}, std::chrono::milliseconds{1500});

    EXPECT_EQ(result.scenarios, 1u);
    EXPECT_THAT(result.breakdowns, ElementsAre(HasSubstr("\"(hanging)\" 0: malloc")));
    EXPECT_THAT(result.breakdowns.front(), HasSubstr("hangs"));
}

TEST(FaultRun, WhatIsLeftOverOrComesOutOtherwiseIsComplainedOf)
{
    const FaultRunResult result = RunFaults({"(leaking)"});

    EXPECT_EQ(result.complaints, 1u);
    EXPECT_THAT(result.breakdowns, IsEmpty());
}

} // namespace

} // namespace Zv::Testing

int main(int count, char** arguments)
{
    using namespace Zv::Testing;
    const std::string_view first = count > 1 ? arguments[1] : "";
    if (first == "--continue" && count == 3)
    {
        return ContinueFaultRun(arguments[2]);
    }
    if (first == "--replay" && count == 4)
    {
        return ReplayFault(arguments[2], std::stoull(arguments[3]));
    }
    if (first == "--list" && count == 3)
    {
        ListFaults(arguments[2]);
        return 0;
    }
    if (first == "--list")
    {
        for (const std::string& name : ScenariosOf(EveryGroup))
        {
            std::puts(name.c_str());
        }
        return 0;
    }
    ::testing::InitGoogleMock(&count, arguments);
    return RUN_ALL_TESTS();
}
