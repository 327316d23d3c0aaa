#include "Platform.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

using Logging::CreateLoggingData;

TEST(LoggingOutputs, NothingIsFormattedWhenNobodyListens)
{
    const Platform platform;
    Logger().LogError(L"%s", L"unheard");
    Logger().LogError(CreateLoggingData(L"%s", L"client"), L"unheard");

    EXPECT_EQ(platform.formatted, 0);
    EXPECT_TRUE(platform.Events().empty());
    EXPECT_TRUE(platform.DebuggerLines().empty());
}

TEST(LoggingOutputs, NothingIsFormattedForASinkThatTakesOnlyHigherLevels)
{
    const Platform platform;
    const Recorder recorder{Logging::Level::Error};
    Logger().LogWarning(L"%s", L"unheard");
    EXPECT_EQ(platform.formatted, 0);
}

TEST(LoggingOutputs, ALineIsFormattedOnceForAllWhoListen)
{
    Platform platform;
    platform.traceLevel = 4;
    platform.debuggerPresent = true;
    const Recorder one;
    const Recorder two;
    Logger().LogError(L"%s", L"heard");

    EXPECT_EQ(platform.formatted, 1);
    EXPECT_EQ(one.Text(), L"heard");
    EXPECT_EQ(two.Text(), L"heard");
    EXPECT_EQ(platform.Events().size(), 1U);
    EXPECT_EQ(platform.DebuggerLines().size(), 1U);
}

TEST(LoggingOutputs, TheDebuggerGetsLevelContextAndTextOfEveryLine)
{
    Platform platform;
    platform.debuggerPresent = true;
    Logger().LogInfo(L"plain %d", 1);
    Logger().LogWarning(CreateLoggingData(L"with context", L"client"));
    Logger().LogError(CreateLoggingData(L"without context", nullptr));

    EXPECT_EQ(
        platform.DebuggerLines(),
        (std::vector<std::wstring>{L"info plain 1\n", L"warning [client] with context\n", L"error without context\n"}));
}

TEST(LoggingOutputs, ATraceSessionGetsContextAndTextAtTheEventsLevel)
{
    Platform platform;
    platform.traceLevel = 4;
    Logger().LogInfo(L"plain %d", 1);
    Logger().LogWarning(CreateLoggingData(L"with context", L"client"));
    Logger().LogError(CreateLoggingData(L"without context", L""));

    const auto events = platform.Events();
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].level, 4);
    EXPECT_EQ(events[0].text, L"plain 1");
    EXPECT_EQ(events[1].level, 3);
    EXPECT_EQ(events[1].text, L"[client] with context");
    EXPECT_EQ(events[2].level, 2);
    EXPECT_EQ(events[2].text, L"without context");
}

TEST(LoggingOutputs, ATraceSessionForErrorsGetsNothingElse)
{
    Platform platform;
    platform.traceLevel = 2;
    Logger().LogWarning(L"warning");
    Logger().LogError(L"error");

    ASSERT_EQ(platform.Events().size(), 1U);
    EXPECT_EQ(platform.Events().front().text, L"error");
    EXPECT_EQ(platform.formatted, 1);
}

TEST(LoggingOutputs, ALongContextIsCutAndLeavesRoomForTheText)
{
    Platform platform;
    platform.debuggerPresent = true;
    const std::wstring context(1000, L'c');
    const std::wstring text(5000, L't');
    Logger().LogWarning(CreateLoggingData(L"%s", context.c_str()), text.c_str());

    ASSERT_EQ(platform.DebuggerLines().size(), 1U);
    EXPECT_EQ(platform.DebuggerLines().front(),
              L"warning [" + std::wstring(128, L'c') + L"] " + std::wstring(4095, L't') + L"\n");
}

} // namespace
} // namespace Zv::Testing
