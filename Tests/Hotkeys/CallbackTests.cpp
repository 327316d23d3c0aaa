// The event callbacks themselves, given texts that the firmware's path never makes, and failing launches.

#include "Tests/Hotkeys/HotkeyTest.h"
#include "Tests/Support/CommandTap.h"

#include "Tests/Support/Text.h"

namespace Zv::Testing
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// Both apps' callbacks, taken from their register commands, which then return at once.
class HotkeyCallback : public HotkeyTest
{
protected:
    HotkeyCallback()
    {
        CommandTap tap{service.get(), [](const TappedCommand& command, wchar_t** response) {
                           if (command.function != 4)
                           {
                               return false;
                           }
                           *response = NewResponse(L"{\"result\":0}");
                           return true;
                       }};
        Start();
        StopListeners();
        for (const TappedCommand& command : tap.Commands())
        {
            if (command.function == 4)
            {
                (command.request == L"{\"filterEvent\":20}" ? lumashade : chimebox) = command.callback;
            }
        }
        calls->Replace<"_time64", decltype(_time64)>([](__time64_t*) -> __time64_t { return 0; });
        transcript.Clear();
        plan.Clear();
    }

    static void Call(const ProgressCallback& callback, std::wstring text) { callback(text.data()); }

    // The launches that a text caused.
    std::size_t LaunchesOf(const ProgressCallback& callback, const std::wstring& text)
    {
        const std::size_t before = user->Launches().size();
        Call(callback, text);
        return user->Launches().size() - before;
    }

    // The command line of the one launch that the text caused.
    std::wstring CommandLineOf(const ProgressCallback& callback, const std::wstring& text)
    {
        EXPECT_EQ(LaunchesOf(callback, text), 1u) << Narrow(text);
        return user->Launches().empty() ? L"" : user->Launches().back().commandLine;
    }

    ProgressCallback lumashade;
    ProgressCallback chimebox;
};

constexpr wchar_t LumashadePress[] = L"{\"eventId\":20,\"eventData\":16711680}";
constexpr wchar_t ChimeboxPress[] = L"{\"eventId\":21,\"eventData\":0}";

TEST_F(HotkeyCallback, NoTextIsReportedByBothInTheSameWords)
{
    lumashade(nullptr);
    chimebox(nullptr);

    constexpr wchar_t line[] = L"Error Applauncher LumashadeAppHotKeyEventCallback() empty event string.";
    EXPECT_THAT(transcript.All(), ElementsAre(line, line));
}

TEST_F(HotkeyCallback, LumashadeWantsId20AndDataWithItsBits)
{
    EXPECT_EQ(LaunchesOf(lumashade, LumashadePress), 1u);
    EXPECT_EQ(LaunchesOf(lumashade, L"{\"eventData\":4294967295,\"eventId\":20}"), 1u);
    for (const wchar_t* const text :
         {L"{\"eventId\":20,\"eventData\":65535}", L"{\"eventId\":20}", L"{\"eventData\":16711680}",
          L"{\"eventId\":21,\"eventData\":16711680}", L"{\"eventId\":\"20\",\"eventData\":16711680}",
          L"{\"eventId\":20,\"eventData\":\"16711680\"}", L"{\"eventId\":20,\"eventData\":null}",
          L"{\"EventId\":20,\"eventData\":16711680}", L"", L"[]", L"20", L"null", L"{", L"[20,16711680]"})
    {
        EXPECT_EQ(LaunchesOf(lumashade, text), 0u) << Narrow(text);
    }
    EXPECT_THAT(transcript.Of({L"Error"}), IsEmpty());
}

TEST_F(HotkeyCallback, ChimeboxAcceptsMoreIdsThanItSubscribesTo)
{
    for (const int id : {3, 20, 21, 33, 0x20001, 0x20002})
    {
        EXPECT_EQ(LaunchesOf(chimebox, L"{\"eventId\":" + std::to_wstring(id) + L"}"), 1u) << id;
    }
    for (const int id : {0, 1, 2, 4, 19, 22, 32, 34, 0x20000, 0x20003, -1, -3})
    {
        EXPECT_EQ(LaunchesOf(chimebox, L"{\"eventId\":" + std::to_wstring(id) + L"}"), 0u) << id;
    }
    for (const wchar_t* const text :
         {L"{\"eventId\":\"3\"}", L"{\"eventData\":3}", L"", L"[]", L"3", L"{\"eventId\":3"})
    {
        EXPECT_EQ(LaunchesOf(chimebox, text), 0u) << Narrow(text);
    }
    EXPECT_THAT(transcript.Of({L"Error"}), IsEmpty());
}

TEST_F(HotkeyCallback, ChimeboxDataThatIsMissingOrNoNumberCountsAs0)
{
    EXPECT_THAT(Narrow(CommandLineOf(chimebox, L"{\"eventId\":131073}")), ::testing::StartsWith(" 131073#0#"));
    EXPECT_THAT(Narrow(CommandLineOf(chimebox, L"{\"eventId\":3,\"eventData\":\"7\"}")),
                ::testing::StartsWith(" 3#0#"));
    EXPECT_THAT(Narrow(CommandLineOf(chimebox, L"{\"eventId\":3,\"eventData\":-7}")), ::testing::StartsWith(" 3#-7#"));
}

TEST_F(HotkeyCallback, AClockThatCannotBeReadDropsTheEvent)
{
    calls->Replace<"_time64", decltype(_time64)>([](__time64_t*) -> __time64_t { return -1; });

    EXPECT_EQ(LaunchesOf(chimebox, ChimeboxPress), 0u);

    EXPECT_THAT(Log(), ElementsAre(L"Error Applauncher failed to setup bios wmi event callback for Chimebox app."));
}

TEST_F(HotkeyCallback, WithoutAUsersTokenNothingIsStarted)
{
    Fail("WTSQueryUserToken", Fault::Nth(1, FALSE, ERROR_NO_TOKEN));

    EXPECT_EQ(LaunchesOf(lumashade, LumashadePress), 0u);

    // The holder is empty: impersonation is tried with nothing, and fails without a word.
    EXPECT_THAT(transcript.Of({L"ImpersonateLoggedOnUser("}), ElementsAre(L"ImpersonateLoggedOnUser(null) = 0"));
    EXPECT_THAT(Log(), ElementsAre(L"Info Attempting to impersonate logged in user.",
                                   L"Warning Problem while querying user's access token."));
}

TEST_F(HotkeyCallback, ATokenThatCannotBeDuplicatedIsNotImpersonated)
{
    Fail("DuplicateTokenEx", Fault::Nth(1, FALSE, ERROR_ACCESS_DENIED));

    EXPECT_EQ(LaunchesOf(chimebox, ChimeboxPress), 0u);

    EXPECT_THAT(transcript.Of({L"ImpersonateLoggedOnUser("}), IsEmpty());
}

TEST_F(HotkeyCallback, TheTokenIsAskedForAsAnImpersonationToken)
{
    Call(lumashade, LumashadePress);

    const std::vector<std::wstring> asked = transcript.Of({L"DuplicateTokenEx("});
    ASSERT_FALSE(asked.empty());
    EXPECT_THAT(Narrow(asked.front()), ::testing::HasSubstr(", 2, 2, ptr) = 1"));
}

TEST_F(HotkeyCallback, AUserWhoCannotBeImpersonatedGetsNothingAndNoMessage)
{
    Fail("ImpersonateLoggedOnUser", Fault::Nth(1, FALSE, ERROR_ACCESS_DENIED));

    EXPECT_EQ(LaunchesOf(lumashade, LumashadePress), 0u);

    EXPECT_THAT(Log(), ElementsAre(L"Info Attempting to impersonate logged in user."));
    EXPECT_THAT(transcript.Of({L"FindPackagesByPackageFamily("}), IsEmpty());
}

TEST_F(HotkeyCallback, ImpersonationThatCannotBeRevertedIsReportedAndTheAppStarts)
{
    Fail("RevertToSelf", Fault::Nth(1, FALSE, ERROR_ACCESS_DENIED));

    EXPECT_EQ(LaunchesOf(lumashade, LumashadePress), 1u);

    EXPECT_THAT(Log(), Contains(L"Warning Failed to RevertToSelf"));
    ledgers.impersonations = 0;
}

TEST_F(HotkeyCallback, AProcessThatCannotBeCreatedIsReported)
{
    Fail("CreateProcessAsUserW", Fault::Every(FALSE, ERROR_ACCESS_DENIED));

    EXPECT_EQ(LaunchesOf(lumashade, LumashadePress), 0u);
    EXPECT_THAT(Log().back(), L"Error Launcher class failed to launch The Lumashade UWP App.");

    EXPECT_EQ(LaunchesOf(chimebox, ChimeboxPress), 0u);
    EXPECT_THAT(Log().back(), L"Error Launcher class failed to launch The Chimebox UWP App.");
}

TEST_F(HotkeyCallback, ALookUpThatRaisesLeavesTheThreadImpersonating)
{
    // The size is told, the buffer for it cannot be had.
    plan.Before("FindPackagesByPackageFamily", [this](int call) {
        if (call == 1)
        {
            Fail("malloc", Fault::Nth(plan.Calls("malloc") + 2, 0));
        }
    });

    EXPECT_EQ(LaunchesOf(lumashade, LumashadePress), 0u);

    EXPECT_EQ(Log().back(), L"Error listenerShouldRun() Failed to verify listner running check.");
    EXPECT_EQ(ledgers.impersonations, 1);
    ledgers.impersonations = 0;
}

TEST_F(HotkeyCallback, WhateverAllocationFailsNothingEscapesAndTheNextPressWorks)
{
    struct App
    {
        ProgressCallback callback;
        const wchar_t* press;
        std::set<std::wstring> messages;
    };
    const App apps[] = {
        {lumashade,
         LumashadePress,
         {L"Error Applauncher failed to setup bios wmi event callback for Lumashade app.",
          L"Error The Lumashade UWP App launch failed.",
          L"Error listenerShouldRun() Failed to verify listner running check.",
          L"Error Launcher class failed to launch The Lumashade UWP App."}},
        {chimebox,
         ChimeboxPress,
         {L"Error Applauncher failed to setup bios wmi event callback for Chimebox app.",
          L"Error The Chimebox UWP App launch failed.",
          L"Error listenerShouldRun() Failed to verify listner running check.",
          L"Error Launcher class failed to launch The Chimebox UWP App."}},
    };
    for (const App& app : apps)
    {
        Fail("malloc", Fault::Nth(1, 0)); // the run time keeps a few blocks from a thread's first exception on
        Call(app.callback, app.press);
        plan.Clear();
        Call(app.callback, app.press);
        const int allocations = plan.Calls("malloc");
        ASSERT_GT(allocations, 10);
        std::set<std::wstring> seen;
        for (int call = 1; call <= allocations; ++call)
        {
            SCOPED_TRACE(call);
            plan.Clear();
            transcript.Clear();
            const std::size_t blocks = ledgers.heap.Count();
            Fail("malloc", Fault::Nth(call, 0));
            const std::size_t launches = LaunchesOf(app.callback, app.press);
            plan.Clear();

            const std::vector<std::wstring> errors = transcript.Of({L"Error"});
            EXPECT_TRUE(launches == 1 || !transcript.Of({L"Error", L"Warning"}).empty());
            seen.insert(errors.begin(), errors.end());
            EXPECT_EQ(ledgers.heap.Count(), blocks);
            ledgers.impersonations = 0; // a look-up that raised leaves it
            EXPECT_EQ(LaunchesOf(app.callback, app.press), 1u);
        }
        EXPECT_THAT(seen, ::testing::IsSubsetOf(app.messages));
        EXPECT_GE(seen.size(), 3u);
    }
}

} // namespace

} // namespace Zv::Testing
