// Slot 5, as far as it is the service's: nothing escapes it.

#include "Tests/FakeLogging/FakeLogging.h"
#include "Tests/Support/ModuleTest.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Zv::Testing;

class StartupTask : public ModuleTest
{
};

TEST_F(StartupTask, ReturnsNormallyWhenTheHotkeysCannotBeSetUp)
{
    static constexpr const wchar_t* Text = L"SetupHotkeyEventAppLauncher() error occured during setting up hotkey app "
                                           L"launcher for Lumashade and Chimebox.";
    Fail("malloc", Fault::Nth(1, 0));

    CallSlot<void>(service->Get(), 5);

    EXPECT_EQ(Log(), std::vector{(LogLine{Level::Error, Overload::Text, std::nullopt, Text, Text, 0})});
}

// Of the listener below; the test's only thread writes and reads it.
std::vector<std::wstring> g_infos;

TEST_F(StartupTask, SaysThatItFailedWhenTheLogThrowsAtTheFirstAttemptToSaySo)
{
    g_infos.clear();
    FakeLoggingListen(
        [](void*, const FakeLogging::Record& record) {
            if (record.level == FakeLogging::Level::Error)
            {
                throw std::runtime_error{"the host's log is full"};
            }
            g_infos.emplace_back(record.text);
        },
        nullptr);
    Fail("malloc", Fault::Nth(1, 0));

    CallSlot<void>(service->Get(), 5);

    FakeLoggingListen(nullptr, nullptr);
    EXPECT_EQ(g_infos,
              std::vector<std::wstring>{L"WMIService startup_task() Failed to setup hotkey event app launcher."});
}

TEST_F(StartupTask, ReturnsNormallyWithoutALogger)
{
    FakeLoggingForgetProvider();
    const Service silent{module};
    plan.Clear();
    Fail("malloc", Fault::Nth(1, 0));

    CallSlot<void>(silent.Get(), 5);

    EXPECT_TRUE(Log().empty());
}

} // namespace
