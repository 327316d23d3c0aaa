// From a firmware event to the companion app.

#include "Tests/Hotkeys/HotkeyTest.h"
#include "Tests/Support/CommandTap.h"

#include "Tests/Support/Text.h"

#include <time.h>

#include <thread>

namespace Zv::Testing
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// 5 March 2024, 14:07:09 local time.
__time64_t FixedTime()
{
    tm local{};
    local.tm_year = 124;
    local.tm_mon = 2;
    local.tm_mday = 5;
    local.tm_hour = 14;
    local.tm_min = 7;
    local.tm_sec = 9;
    local.tm_isdst = -1;
    return _mktime64(&local);
}

constexpr wchar_t FixedTimeText[] = L"24-03-05 14:07:09";

std::wstring Argument(int id, int data)
{
    return std::to_wstring(id) + L"#" + std::to_wstring(data) + L"#" + FixedTimeText;
}

class HotkeyEvent : public HotkeyTest
{
protected:
    HotkeyEvent()
    {
        calls->Replace<"_time64", decltype(_time64)>([](__time64_t*) { return FixedTime(); });
    }

    // A press that must not launch anything, followed by one that does: the first has been dealt with then, since the
    // events of one subscription are.
    void ExpectNoLaunch(int id, int data)
    {
        const std::size_t before = user->Launches().size();
        Press(id, data);
        Press(id, LaunchData);
        user->WaitForLaunches(before + 1);
        EXPECT_EQ(user->Launches().size(), before + 1) << id << " " << data;
    }

    static constexpr int LaunchData = 0xFF0000;
};

TEST_F(HotkeyEvent, TheLumashadeKeyStartsItsAppWithoutArguments)
{
    StartAndWait(5);

    Press(20, 0xFF0000);
    user->WaitForLaunches(1);
    StopListeners();

    EXPECT_THAT(user->Launches(), ElementsAre(LumashadeLaunch()));
    EXPECT_THAT(transcript.Of({L"Error"}), IsEmpty());
}

TEST_F(HotkeyEvent, TheLumashadeKeyCountsWhenBits16To23AreAllSet)
{
    StartAndWait(5);
    for (const int data : {0xFF0000, 0xFF0001, 0xFFFFFF, 0x7FFF0000, -1, static_cast<int>(0x80FF0000)})
    {
        const std::size_t before = user->Launches().size();
        Press(20, data);
        user->WaitForLaunches(before + 1);
    }
    for (const int data : {0, 1, 65535, 0xFE0000, 0x7F0000, 0x00FEFFFF, static_cast<int>(0xFF000000)})
    {
        ExpectNoLaunch(20, data);
    }
    StopListeners();
}

TEST_F(HotkeyEvent, EachChimeboxEventStartsItsAppWithIdDataAndLocalTime)
{
    StartAndWait(5);
    const std::pair<int, int> presses[] = {{3, 0}, {131073, 7}, {131074, -1}, {21, 2147483647}};
    std::size_t launches = 0;
    for (const auto& [id, data] : presses)
    {
        Press(id, data);
        user->WaitForLaunches(++launches);
    }
    StopListeners();

    EXPECT_THAT(user->Launches(),
                ElementsAre(ChimeboxLaunch(Argument(3, 0)), ChimeboxLaunch(Argument(131073, 7)),
                            ChimeboxLaunch(Argument(131074, -1)), ChimeboxLaunch(Argument(21, 2147483647))));
}

TEST_F(HotkeyEvent, EventsThatNobodySubscribedToStartNothing)
{
    StartAndWait(5);
    for (const int id : {0, 1, 2, 4, 19, 22, 33, 131072, 131075, -1, -3})
    {
        Press(id, 0xFF0000);
    }
    Press(21, 1);
    user->WaitForLaunches(1);
    StopListeners();

    EXPECT_EQ(user->Launches().size(), 1u);
}

TEST_F(HotkeyEvent, AnAppThatIsNotInstalledIsReportedAndNotStarted)
{
    user->Uninstall(LumashadeFamily);
    user->Uninstall(ChimeboxFamily);
    StartAndWait(5);
    transcript.Clear();

    Press(20, 0xFF0000);
    Press(21, 0);
    Press(20, 0); // each was dealt with when the next one of its subscription is
    Press(20, 0);
    Press(21, 0);
    Press(21, 0);
    StopListeners();

    EXPECT_THAT(user->Launches(), IsEmpty());
    EXPECT_THAT(Log(), Contains(L"Warning 7B3E90C4.Lumashade_k2x7m4qp9wt1d NOT INSTALLED:"));
    EXPECT_THAT(Log(), Contains(L"Warning 7B3E90C4.Chimeboxes_k2x7m4qp9wt1d NOT INSTALLED:"));
    EXPECT_THAT(transcript.Of({L"CreateEnvironmentBlock", L"Error"}), IsEmpty());
    EXPECT_EQ(ledgers.impersonations, 0);
}

TEST_F(HotkeyEvent, AThousandInABurstFromFourThreadsAllStartTheirApp)
{
    constexpr int threads = 4;
    constexpr int pressesEach = 250;
    calls->Watch<"CreateProcessAsUserW", decltype(CreateProcessAsUserW)>(Traced::No);
    StartAndWait(5);
    const std::size_t handles = ledgers.handles.Count();

    std::vector<std::thread> firmware;
    for (int thread = 0; thread < threads; ++thread)
    {
        firmware.emplace_back([this, thread] {
            constexpr int ids[] = {3, 131073, 131074, 21};
            for (int n = 0; n < pressesEach; ++n)
            {
                if (n % 5 == 4)
                {
                    Press(20, 0xFF0000 + n);
                }
                else
                {
                    Press(ids[n % 5], thread * 1000 + n);
                }
            }
        });
    }
    for (std::thread& thread : firmware)
    {
        thread.join();
    }
    user->WaitForLaunches(threads * pressesEach);
    StopListeners();

    std::map<std::wstring, int> launches;
    for (const Launch& launch : user->Launches())
    {
        ++launches[launch.commandLine];
    }
    EXPECT_EQ(user->Launches().size(), static_cast<std::size_t>(threads * pressesEach));
    EXPECT_EQ(launches.size(), static_cast<std::size_t>(threads * pressesEach / 5 * 4 + 1));
    EXPECT_EQ(launches[LumashadeLaunch().commandLine], threads * pressesEach / 5);
    EXPECT_EQ(ledgers.impersonations, 0);
    // Each subscription has opened the event that it signals; what else was opened was closed.
    EXPECT_LE(ledgers.handles.Count(), handles + 5);
}

} // namespace

} // namespace Zv::Testing
