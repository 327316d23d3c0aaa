// The listener threads: what each asks for, under which name, and what becomes of one that cannot start.

#include "Tests/Hotkeys/HotkeyTest.h"
#include "Tests/Support/CommandTap.h"

#include "Logging/Logging.h"
#include "Tests/FakeLogging/FakeLogging.h"
#include "Tests/Support/Text.h"

#include <process.h>

namespace Zv::Testing
{

namespace
{

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

const std::vector<std::wstring> Registrations = {L"4 {\"filterEvent\":131073}", L"4 {\"filterEvent\":131074}",
                                                 L"4 {\"filterEvent\":20}", L"4 {\"filterEvent\":21}",
                                                 L"4 {\"filterEvent\":3}"};

std::wstring Running(const std::wstring& family)
{
    return L"Info " + family + L" Running";
}

std::wstring Stopped(const std::wstring& family)
{
    return L"Info " + family + L" Stopped";
}

using HotkeyListener = HotkeyTest;

TEST_F(HotkeyListener, EachEventHasAThreadThatRegistersForItAndSaysThatItRunsAndStops)
{
    CommandTap tap{service.get()};

    StartAndWait(5);

    EXPECT_EQ(Threads(), 5u);
    std::vector<std::wstring> registered = tap.Texts();
    std::erase_if(registered, [](const std::wstring& text) { return !text.starts_with(L"4 "); });
    EXPECT_THAT(registered, ElementsAreArray(Registrations));
    EXPECT_EQ(transcript.Of({Running(LumashadeFamily)}).size(), 1u);
    EXPECT_EQ(transcript.Of({Running(ChimeboxFamily)}).size(), 4u);
    EXPECT_THAT(transcript.Of({Stopped(L"7B3E90C4.")}), IsEmpty());

    StopListeners();
    EXPECT_EQ(transcript.Of({Stopped(LumashadeFamily)}).size(), 1u);
    EXPECT_EQ(transcript.Of({Stopped(ChimeboxFamily)}).size(), 4u);
}

TEST_F(HotkeyListener, EachHasASessionNamedAfterItsApp)
{
    Fail("CoInitializeEx", Fault::From(2, RPC_E_CHANGED_MODE)); // the first is the platform check's

    StartAndWait(5);

    std::vector<std::wstring> contexts;
    for (const LogLine& line : transcript.Log())
    {
        if (line.context.has_value() && line.context->starts_with(L"APP_7B"))
        {
            contexts.push_back(*line.context);
        }
    }
    EXPECT_THAT(contexts, ::testing::UnorderedElementsAre(L"APP_7B3E90C4.Lumashade_k2x7m4qp9wt1d_LAUNCHER",
                                                          L"APP_7B3E90C4.Chimeboxes_k2x7m4qp9wt1d_LAUNCHER",
                                                          L"APP_7B3E90C4.Chimeboxes_k2x7m4qp9wt1d_LAUNCHER",
                                                          L"APP_7B3E90C4.Chimeboxes_k2x7m4qp9wt1d_LAUNCHER",
                                                          L"APP_7B3E90C4.Chimeboxes_k2x7m4qp9wt1d_LAUNCHER"));
    // Two names each, all different.
    std::vector<std::wstring> names = transcript.Of({L"CreateEventW("});
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names.size(), 10u);
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

TEST_F(HotkeyListener, TheAppsAreArmedInThisOrderAndASecondStartArmsNothing)
{
    StartAndWait(5);
    EXPECT_THAT(transcript.Of({L"Info hot", L"Warning hot", L"Error"}), ElementsAre(LumashadeRuns, ChimeboxRuns));
    transcript.Clear();

    Start();
    EXPECT_THAT(
        Log(),
        ElementsAre(
            L"Info SetupHotkeyEventAppLauncher() failed to create instance of listener/launcher for Lumashade.",
            L"Info SetupHotkeyEventAppLauncher() failed to create instance of listener/launcher for Chimebox App."));

    // Another service object of the same module finds the same listeners.
    const std::unique_ptr<ZVService> second{module.CreateService()};
    CallSlot<void>(second.get(), 5);
    EXPECT_EQ(Log().size(), 4u);
    EXPECT_EQ(Threads(), 5u);
    EXPECT_EQ(events.Subscriptions(), 5u);
}

TEST_F(HotkeyListener, AnUnsupportedAppIsTriedAgainByTheNextStart)
{
    SetBoard(Value::Text(L"9999"));
    StartAndWait(4);
    transcript.Clear();

    SetBoard(Value::Text(L"7D52"));
    StartAndWait(5);

    EXPECT_THAT(
        transcript.Of({L"Info hot", L"Info Setup"}),
        ElementsAre(
            LumashadeRuns,
            L"Info SetupHotkeyEventAppLauncher() failed to create instance of listener/launcher for Chimebox App."));
}

TEST_F(HotkeyListener, AThreadThatCannotStartIsLoggedAndTheNextOneStarts)
{
    calls->Watch<"FreeLibrary", decltype(FreeLibrary)>(Traced::No);
    Fail("_beginthreadex", Fault::Nth(1, 0));
    Fail("_beginthreadex", Fault::Nth(3, 0));

    StartAndWait(3);

    EXPECT_EQ(plan.Calls("FreeLibrary"), 2) << "the reference for each thread that did not start";

    EXPECT_THAT(transcript.Of({L"Info hot", L"Error"}),
                ElementsAre(LumashadeRuns, ListenerFailed, ChimeboxRuns, ListenerFailed));
    EXPECT_EQ(Threads(), 3u);
}

TEST_F(HotkeyListener, NoThreadStartsInAModuleThatCannotBeKeptLoaded)
{
    calls->Watch<"GetModuleHandleExW", decltype(GetModuleHandleExW)>(Traced::No);
    Fail("GetModuleHandleExW", Fault::Every(FALSE, ERROR_INVALID_PARAMETER));

    Start();

    EXPECT_THAT(transcript.Of({L"Info", L"Error"}),
                ElementsAre(LumashadeRuns, ListenerFailed, ChimeboxRuns, ListenerFailed, ListenerFailed, ListenerFailed,
                            ListenerFailed));
    EXPECT_EQ(Threads(), 0u);
    EXPECT_EQ(plan.Calls("_beginthreadex"), 0);
}

TEST_F(HotkeyListener, AReferenceByAnAddressOfItsOwnKeepsTheModuleUntilAThreadRunsAndItIsPinned)
{
    std::vector<std::wstring> order;
    calls->Replace<"GetModuleHandleExW", decltype(GetModuleHandleExW)>(
        [&](DWORD flags, const wchar_t* address, HMODULE* result) -> BOOL {
            EXPECT_NE(flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, 0u);
            const BOOL found = GetModuleHandleExW(
                GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, address, result);
            EXPECT_EQ(*result, module.Handle());
            order.emplace_back((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0 ? L"pinned" : L"referenced");
            return found;
        });
    plan.Before("_beginthreadex", [&](int) { order.emplace_back(L"started"); });

    StartAndWait(5);

    ASSERT_EQ(order.size(), 15u);
    order.resize(3);
    EXPECT_THAT(order, ElementsAre(L"referenced", L"started", L"pinned"));
}

TEST_F(HotkeyListener, ASubscriptionThatFailsEndsItsThread)
{
    wmi->script.erase(L"\\\\.\\root\\wmi");

    Start();
    StopListeners();

    EXPECT_EQ(transcript.Of({Running(L"")}).size() + transcript.Of({L"Info 7B3E90C4."}).size(), 10u);
    EXPECT_EQ(transcript.Of({Stopped(LumashadeFamily)}).size(), 1u);
    EXPECT_EQ(transcript.Of({Stopped(ChimeboxFamily)}).size(), 4u);
    EXPECT_EQ(events.Subscriptions(), 0u);
}

TEST_F(HotkeyListener, WithoutALoggerItListensAllTheSame)
{
    FakeLoggingForgetProvider();
    service.reset(module.CreateService());

    StartAndWait(5);

    EXPECT_THAT(transcript.Log(), IsEmpty());
    Logging::LogManager::SetProvider(L"the host's");
}

// The threads' bodies run on the test's own thread, one at a time.
class ListenerBody : public HotkeyTest
{
protected:
    ListenerBody()
    {
        calls->Replace<"_beginthreadex", decltype(_beginthreadex)>([this](void*, unsigned int,
                                                                          unsigned int(__stdcall * body)(void*),
                                                                          void* argument, unsigned int, unsigned int*) {
            bodies.push_back([body, argument] { body(argument); });
            return reinterpret_cast<std::uintptr_t>(CreateEventW(nullptr, TRUE, TRUE, nullptr)); // has ended
        });
        calls->Replace<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(
            [](DWORD, const HANDLE*, BOOL, DWORD) -> DWORD { return WAIT_OBJECT_0; });
    }

    std::vector<std::function<void()>> bodies;
};

TEST_F(ListenerBody, ThatRunsOutOfMemoryIsLoggedAndEnds)
{
    Start();
    ASSERT_EQ(bodies.size(), 5u);
    int failed = 0;
    for (std::size_t n = 0; n < bodies.size(); ++n)
    {
        plan.Clear();
        transcript.Clear();
        Fail("malloc", Fault::Nth(static_cast<int>(n) + 1, 0));
        bodies[n]();
        failed +=
            static_cast<int>(transcript.Of({L"Error SetupListner() failed to create event listening thread."}).size());
    }
    EXPECT_GE(failed, 2); // the line "Running", the request; then the command's own allocations
}

TEST_F(ListenerBody, AnAllocationOfTheStartThatFailsIsLoggedAndCostsAtMostWhatItWasFor)
{
    // Each allocation of a first start, in a module of its own.
    for (int call = 1, allocations = call; call <= allocations; call += 3)
    {
        SCOPED_TRACE(call);
        calls.reset();
        const FreshModule fresh;
        int threads = 0;
        calls.emplace(fresh.Handle(), transcript, plan, ledgers);
        calls->Replace<"_beginthreadex", decltype(_beginthreadex)>(
            [&threads](void*, unsigned int, unsigned int(__stdcall*)(void*), void*, unsigned int, unsigned int*) {
                ++threads;
                return reinterpret_cast<std::uintptr_t>(CreateEventW(nullptr, TRUE, TRUE, nullptr)); // has ended
            });
        calls->Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
            [](REFCLSID, IUnknown*, DWORD, REFIID, void**) -> HRESULT { return REGDB_E_CLASSNOTREG; });
        const std::unique_ptr<ZVService> starting{fresh.CreateService()};
        plan.Clear();
        transcript.Clear();
        Fail("malloc", Fault::Nth(call, 0));
        CallSlot<void>(starting.get(), 5);
        if (call == 1)
        {
            plan.Clear(); // how many there are, once the first has not failed
            CallSlot<void>(starting.get(), 5);
            allocations = plan.Calls("malloc");
            ASSERT_GT(allocations, 20);
        }
        else
        {
            EXPECT_LE(threads, 4);
            EXPECT_THAT(transcript.Of({L"Error"}), Not(IsEmpty()));
        }
    }
}

} // namespace

} // namespace Zv::Testing
