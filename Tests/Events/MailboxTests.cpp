// The mailbox between WMI's threads and the registration, and what follows from its having one slot. docs/events.md
// tells the same for people.

#include "Tests/Events/EventTest.h"

#include "Platform/Windows/WindowsDeclarations.h"

namespace Zv::Testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A call on a thread of its own; the destructor waits for it.
class Async
{
public:
    explicit Async(std::function<void()> work)
        : m_thread{[this, work = std::move(work)] {
              work();
              m_done.Add();
          }}
    {
    }
    Async(const Async&) = delete;
    Async& operator=(const Async&) = delete;
    ~Async() { m_thread.join(); }

    [[nodiscard]] bool IsDone() const { return m_done.Count() > 0; }
    void Wait() { m_done.WaitFor(1); }

private:
    Counter m_done;
    std::thread m_thread;
};

class Mailbox : public EventTest
{
protected:
    // An event that is emitted on a thread of its own and waits for the full mailbox.
    [[nodiscard]] std::unique_ptr<Async> EmitAside(int id, int data)
    {
        const int before = waitsAtMailbox.Count();
        auto emission = std::make_unique<Async>([this, id, data] { Emit(id, data); });
        waitsAtMailbox.WaitFor(before + 1);
        return emission;
    }

    void CountWaits()
    {
        using Wait = decltype(SleepConditionVariableSRW);
        calls->Replace<"SleepConditionVariableSRW", Wait>(
            [this](CONDITION_VARIABLE* condition, SRWLOCK* lock, DWORD limit, ULONG flags) {
                waitsAtMailbox.Add();
                return calls->Original<"SleepConditionVariableSRW", Wait>()(condition, lock, limit, flags);
            });
    }

    // Counts how often a registration has woken from its wait for the session's two events.
    void CountWakeUps(Counter& woken)
    {
        using Wait = decltype(WaitForMultipleObjects);
        calls->Replace<"WaitForMultipleObjects", Wait>(
            [this, &woken](DWORD count, const HANDLE* handles, BOOL all, DWORD limit) {
                const DWORD signalled = calls->Original<"WaitForMultipleObjects", Wait>()(count, handles, all, limit);
                woken.Add();
                return signalled;
            });
    }

    Counter waitsAtMailbox;
};

TEST_F(Mailbox, ASlowCallbackHoldsBackTheProducerAndLosesNothing)
{
    Counter entered;
    Counter released;
    const auto registration = StartRegistration(AllEvents, [&](const std::wstring&) {
        entered.Add();
        released.WaitFor(1);
    });
    CountWaits();
    Emit(1, 1);
    entered.WaitFor(1);

    const auto second = EmitAside(1, 2);
    const auto third = EmitAside(1, 3);
    EXPECT_FALSE(second->IsDone());
    EXPECT_FALSE(third->IsDone());
    released.Add();

    registration->WaitForEvents(3);
    second->Wait();
    third->Wait();
    Stop(*registration);
}

TEST_F(Mailbox, WithoutARegistrationTheFirstEventIsKeptAndTheSecondBlocksItsProducerUntilTheNextOne)
{
    {
        const auto registration = StartRegistration(AllEvents);
        Emit(1, 0); // makes the sink open its event, which keeps the name alive from here on
        registration->WaitForEvents(1);
        Stop(*registration);
    }
    CountWaits();

    Emit(1, 1);
    const auto second = EmitAside(1, 2);
    EXPECT_FALSE(second->IsDone());

    // Neither is filtered: they came while there was no filter.
    const auto registration = StartRegistration(Filter(7));
    registration->WaitForEvents(2);
    second->Wait();
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 1), EventText(1, 2)));
}

TEST_F(Mailbox, AnEventBeforeTheFirstOneWasEverSignalledIsAnnouncedToNobodyWhileNoneWaits)
{
    Subscribe(); // its names are gone with its handles

    EXPECT_EQ(Emit(1, 1), 0);
    EXPECT_EQ(Emit(1, 2), 0);

    const LogLine line = Error(L"%S.%S - Windows API %s error, GetLastError = %d", BiosWmiEventSinkClass, "Indicate",
                               L"OpenEvent", ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(Log(), ElementsAre(line, line));

    const auto registration = StartRegistration(AllEvents);
    Emit(1, 3);
    registration->WaitForEvents(1);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 3)));
}

TEST_F(Mailbox, TheEventIsOpenedByNameOnceAndKept)
{
    const auto registration = StartRegistration(AllEvents);
    Emit(1, 1);
    Emit(1, 2);
    registration->WaitForEvents(2);
    Stop(*registration);
    const auto again = StartRegistration(AllEvents);
    Emit(1, 3);
    again->WaitForEvents(1);
    Stop(*again);

    const std::vector<std::wstring> opened = transcript.Of({L"OpenEventW("});
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_THAT(Narrow(opened[0]), ::testing::StartsWith("OpenEventW(0x1f0003, 0, \"zvttcb_"));
    EXPECT_EQ(transcript.Of({L"SetEvent("}).size(), 3u + 2u); // and two stops
    EXPECT_EQ(transcript.Of({L"ResetEvent("}).size(), 3u);
}

TEST_F(Mailbox, AnEventThatCannotBeOpenedIsTriedAgainForTheNextOne)
{
    Fail("OpenEventW", Fault::Nth(1, 0, ERROR_ACCESS_DENIED));
    const auto registration = StartRegistration(AllEvents);

    EXPECT_EQ(Emit(1, 1), 0);
    EXPECT_EQ(Emit(1, 2), 0);
    registration->WaitForEvents(1);
    Stop(*registration);

    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 2)));
    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - Windows API %s error, GetLastError = %d", BiosWmiEventSinkClass,
                                         "Indicate", L"OpenEvent", ERROR_ACCESS_DENIED)));
}

TEST_F(Mailbox, AnEventThatCannotBeSetLosesThisOneOnly)
{
    const auto registration = StartRegistration(AllEvents);
    Fail("SetEvent", Fault::Nth(1, FALSE, ERROR_INVALID_HANDLE));

    EXPECT_EQ(Emit(1, 1), 0);
    EXPECT_EQ(Emit(1, 2), 0);
    registration->WaitForEvents(1);
    Stop(*registration);

    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 2)));
    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - Windows API %s error, GetLastError = %d", BiosWmiEventSinkClass,
                                         "Indicate", L"SetEvent", ERROR_INVALID_HANDLE)));
}

TEST_F(Mailbox, AnEventThatWasLostWakesTheProducerBehindIt)
{
    Counter entered;
    Counter released;
    const auto registration = StartRegistration(AllEvents, [&](const std::wstring&) {
        entered.Add();
        released.WaitFor(1);
    });
    CountWaits();
    Emit(1, 1);
    entered.WaitFor(1);
    const auto second = EmitAside(1, 2);
    const auto third = EmitAside(1, 3);
    const auto fourth = EmitAside(1, 4);
    Fail("SetEvent", Fault::Nth(plan.Calls("SetEvent") + 1, FALSE, ERROR_INVALID_HANDLE));
    released.Add();

    second->Wait();
    third->Wait();
    fourth->Wait();
    registration->WaitForEvents(3);
    Stop(*registration);
}

TEST_F(Mailbox, TheLastIdTakenAwayLetsEveryEventPassUntilTheRegistrationHasEnded)
{
    Counter entered;
    Counter released;
    const auto registration = StartRegistration(Filter(5), [&](const std::wstring&) {
        entered.Add();
        released.WaitFor(1);
    });
    CountWaits();
    Emit(5, 1);
    entered.WaitFor(1);

    EXPECT_EQ(Narrow(Unregister(Filter(5)).text), "{\"result\":0}");
    const auto other = EmitAside(6, 2);
    released.Add();
    registration->End();
    other->Wait(); // into the mailbox; the next registration gets it, whatever its filter
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(5, 1)));

    const auto next = StartRegistration(Filter(9));
    next->WaitForEvents(1);
    Stop(*next);
    EXPECT_THAT(next->Events(), ElementsAre(EventText(6, 2)));
}

TEST_F(Mailbox, AClientThatHasLeftLeavesTheNextRegistrationDeafUntilAnEventComes)
{
    callStatus = 2;
    const auto gone = StartRegistration(AllEvents);
    Emit(1, 1);
    EXPECT_EQ(Narrow(gone->End().text), "{\"result\":0}");
    callStatus = 0;

    // The callback event is still set: the registration wakes and waits at the mailbox, not for its stop event.
    Counter woken;
    CountWakeUps(woken);
    const auto next = StartRegistration(AllEvents);
    woken.WaitFor(1);
    EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":0}");
    EXPECT_THAT(next->Events(), IsEmpty());
    Emit(1, 2);
    EXPECT_EQ(Narrow(next->End().text), "{\"result\":0}");
    EXPECT_THAT(next->Events(), ElementsAre(EventText(1, 2)));
}

TEST_F(Mailbox, TheEndOfTheSessionEndsTheRegistrationThatAClientWhoHasLeftMadeDeaf)
{
    callStatus = 2;
    const auto gone = StartRegistration(AllEvents);
    Emit(1, 1);
    gone->End();
    callStatus = 0;
    Counter woken;
    CountWakeUps(woken);
    const auto next = StartRegistration(AllEvents);
    woken.WaitFor(1);

    session->End();

    EXPECT_EQ(Narrow(next->End().text), "{\"result\":0}");
    EXPECT_THAT(next->Events(), IsEmpty());
    ExpectComLeftByAnotherThread();
}

TEST_F(Mailbox, TheSessionMayEndInsideItsClientsCallback)
{
    const auto registration = StartRegistration(AllEvents, [this](const std::wstring&) { session->End(); });
    Emit(1, 1);

    EXPECT_EQ(Narrow(registration->End().text), "{\"result\":0}");
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 1)));
}

TEST_F(Mailbox, AClientThatHasLeftDropsOneEventAndTheOnesBehindItReachTheNextRegistration)
{
    Counter asked;
    Counter mayAnswer;
    calls->Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
        [&](RPC_BINDING_HANDLE, void* attributes) -> RPC_STATUS {
            asked.Add();
            mayAnswer.WaitFor(1);
            static_cast<RPC_CALL_ATTRIBUTES_V3_W*>(attributes)->CallStatus = asked.Count() == 1 ? 1 : 0;
            return RPC_S_OK;
        });
    const auto gone = StartRegistration(AllEvents);
    CountWaits();
    Emit(1, 1);
    asked.WaitFor(1);
    const auto second = EmitAside(1, 2);
    const auto third = EmitAside(1, 3);
    const auto fourth = EmitAside(1, 4);
    mayAnswer.Add();
    gone->End();

    const auto next = StartRegistration(AllEvents);
    next->WaitForEvents(3);
    Stop(*next);
    EXPECT_THAT(next->Events(), ::testing::UnorderedElementsAre(EventText(1, 2), EventText(1, 3), EventText(1, 4)));
}

TEST_F(Mailbox, TheEndOfTheSessionLetsBlockedProducersGo)
{
    {
        const auto registration = StartRegistration(AllEvents);
        Emit(1, 0);
        registration->WaitForEvents(1);
        Stop(*registration);
    }
    CountWaits();
    Emit(1, 1);
    const auto second = EmitAside(1, 2);
    const auto third = EmitAside(1, 3);

    session->End();

    second->Wait();
    third->Wait();
    EXPECT_THAT(Log(), IsEmpty());
    ExpectComLeftByAnotherThread();
}

TEST_F(Mailbox, AnEventThatIsUnderWayWhenTheSessionEndsFindsItsSink)
{
    const auto registration = StartRegistration(AllEvents);
    Counter read;
    Counter ended;
    plan.Before("IWbemClassObject::Get", [&](int) {
        read.Add();
        ended.WaitFor(1);
    });
    const Async emission{[this] { Emit(1, 1); }};
    read.WaitFor(1);

    session->End();
    registration->End();
    ended.Add();
}

} // namespace

} // namespace Zv::Testing
