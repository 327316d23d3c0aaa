// Slot 5, as far as it is the service's: nothing escapes it.

#include "Tests/Support/ModuleTest.h"

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
