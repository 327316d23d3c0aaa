#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

namespace
{

using Zv::Testing::Watchdog;
using namespace std::chrono_literals;

void Hang()
{
    const Watchdog watchdog{"a test that hangs", 50ms};
    Sleep(INFINITE);
}

TEST(WatchdogDeathTest, WhatRunsTooLongEndsTheProcessAndIsNamed)
{
    EXPECT_EXIT(Hang(), ::testing::ExitedWithCode(Zv::Testing::WatchdogExitCode),
                "a test that hangs still runs after 50 ms");
}

TEST(WatchdogDeathTest, WhatEndsInTimeIsLeftAlone)
{
    {
        const Watchdog watchdog{"a quick test", 1h};
    }
    SUCCEED();
}

} // namespace
