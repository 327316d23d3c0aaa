// What the unregister command returns and what it ends; how the end of a session ends a registration.

#include "Tests/Events/EventTest.h"

namespace Zv::Testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Unregistering = EventTest;

TEST_F(Unregistering, OneOfSeveralIdsLeavesTheRegistrationWaiting)
{
    const auto registration = StartRegistration(Filter(5));
    EXPECT_EQ(Narrow(Register(Filter(6)).text), "{\"result\":1}");

    const Reply reply = Unregister(Filter(5));

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":1}");
    Emit(5, 1);
    Emit(6, 2);
    registration->WaitForEvents(1);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(6, 2)));

    EXPECT_EQ(Narrow(Unregister(Filter(6)).text), "{\"result\":0}");
    EXPECT_EQ(Narrow(registration->End().text), "{\"result\":0}");
}

TEST_F(Unregistering, AnIdThatIsNotListenedForAnswers3)
{
    const auto registration = StartRegistration(Filter(5));

    const Reply reply = Unregister(Filter(6));

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":3}");
    Stop(*registration);
}

TEST_F(Unregistering, AnyIdAnswers3WhileEveryEventPasses)
{
    const auto registration = StartRegistration(AllEvents);

    EXPECT_EQ(Narrow(Unregister(Filter(6)).text), "{\"result\":3}");

    Stop(*registration);
}

TEST_F(Unregistering, WithNothingWaitingThereIsNothingToStop)
{
    const Reply never = Unregister(AllEvents);
    EXPECT_EQ(never.code, 0);
    EXPECT_EQ(Narrow(never.text), "{\"result\":2}");
    EXPECT_EQ(Narrow(Unregister(Filter(5)).text), "{\"result\":2}"); // no id is left without a subscription

    Subscribe(Filter(5));
    EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":2}");
    EXPECT_EQ(Narrow(Unregister(Filter(5)).text), "{\"result\":3}"); // the live subscription has no filter
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Unregistering, IdsOfARegistrationThatCouldNotStartAreStillCounted)
{
    Fail("CreateEventW", Fault::Nth(1, 0, ERROR_NOT_ENOUGH_QUOTA));
    EXPECT_EQ(Register(Filter(5)).code, ResultCode::GeneralFailure);

    EXPECT_EQ(Narrow(Unregister(Filter(6)).text), "{\"result\":1}");
    EXPECT_EQ(Narrow(Unregister(Filter(5)).text), "{\"result\":2}");
}

TEST_F(Unregistering, ARequestThatIsNoJsonStopsTheRegistration)
{
    for (const wchar_t* const request : {L"", L"{", L"null", L"{}"})
    {
        const auto registration = StartRegistration(Filter(5));
        const Reply reply = Unregister(request);
        EXPECT_EQ(reply.code, 0);
        EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
        registration->End();
    }
}

TEST_F(Unregistering, AFilterThatIsNoNumberIsRefused)
{
    const auto registration = StartRegistration(Filter(5));

    const Reply reply = Unregister(L"{\"filterEvent\":true}");

    EXPECT_EQ(reply.code, ResultCode::EventFilterInvalid);
    EXPECT_EQ(Narrow(reply.text), "{}");
    Stop(*registration);
}

TEST_F(Unregistering, AStopEventThatCannotBeSetIsReported)
{
    const auto registration = StartRegistration(Filter(5));
    Fail("SetEvent", Fault::Nth(1, FALSE, ERROR_INVALID_HANDLE));

    const Reply reply = Unregister(Filter(5));

    EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
    EXPECT_EQ(Narrow(reply.text), "{}");
    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - Windows API %s error, GetLastError = %d", WmiServiceClass,
                                         "UnregisterBiosWmiEventNotification", L"SetEvent", ERROR_INVALID_HANDLE)));
    Stop(*registration);
}

TEST_F(Unregistering, StopsARegistrationThatIsStillBeingSetUp)
{
    // The set-up holds the session's lock: the stop event is set all the same, only the command returns later.
    Counter stopped;
    Reply reply;
    std::thread client;
    plan.Before("SetEvent", [&](int) { stopped.Add(); });
    plan.Before("IWbemLocator::ConnectServer", [&](int) {
        client = std::thread{[&] { reply = Unregister(AllEvents); }};
        stopped.WaitFor(1);
    });

    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");

    client.join();
    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
}

TEST_F(Unregistering, TheCallbackMayUseTheSession)
{
    Reply added;
    Reply stopped;
    const auto registration = StartRegistration(AllEvents, [&](const std::wstring&) {
        added = Register(Filter(5));
        stopped = Unregister(Filter(5));
    });

    Emit(1, 1);

    EXPECT_EQ(Narrow(registration->End().text), "{\"result\":0}");
    EXPECT_EQ(Narrow(added.text), "{\"result\":1}");
    EXPECT_EQ(Narrow(stopped.text), "{\"result\":0}");
}

TEST_F(Unregistering, ARegistrationThatIsJustEndingIsStillJoined)
{
    Reply stopped;
    Reply added;
    Reply everyEvent;
    const auto registration = StartRegistration(Filter(1), [&](const std::wstring&) {
        stopped = Unregister(AllEvents);
        added = Register(Filter(5));
        everyEvent = Register(AllEvents);
    });

    Emit(1, 1);

    EXPECT_EQ(Narrow(registration->End().text), "{\"result\":0}");
    EXPECT_EQ(Narrow(stopped.text), "{\"result\":0}");
    EXPECT_EQ(Narrow(added.text), "{\"result\":1}");
    EXPECT_EQ(Narrow(everyEvent.text), "{\"result\":2}");
}

TEST_F(Unregistering, OtherSessionsAreNotReached)
{
    const auto registration = StartRegistration(Filter(5));
    Session other{service->Get(), L"other client"};

    EXPECT_EQ(Narrow(Testing::Run(service->Get(), other.Get(), 8, AllEvents).text), "{\"result\":2}");

    Emit(5, 1);
    registration->WaitForEvents(1);
    Stop(*registration);
}

using EndingTheSession = EventTest;

TEST_F(EndingTheSession, WakesTheWaitingRegistration)
{
    const auto registration = StartRegistration(Filter(5));

    session->End();

    const Reply& reply = registration->End();
    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
    EXPECT_EQ(events.Subscriptions(), 0u);
}

TEST_F(EndingTheSession, WhileTheRegistrationIsBeingSetUpLetsItReturn)
{
    std::thread host;
    plan.Before("IWbemLocator::ConnectServer", [&](int) { host = std::thread{[this] { session->End(); }}; });

    const Reply reply = Register(Filter(5));

    host.join();
    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
}

TEST_F(EndingTheSession, BeforeTheRegistrationHasEventsLetsItReturnWithoutWaiting)
{
    // A long request needs memory when it is parsed: after the session was pinned and before its lock is taken.
    const std::wstring request = L"{\"filterEvent\":5,\"more\":\"" + std::wstring(20000, L'.') + L"\"}";
    bool ended = false;
    plan.Before("malloc", [&](int) {
        if (!std::exchange(ended, true))
        {
            session->End();
        }
    });

    const Reply reply = Register(request);

    EXPECT_TRUE(ended);
    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
    EXPECT_EQ(waits.Count(), 0);
}

TEST_F(EndingTheSession, InTheCallbackIsSafe)
{
    const auto registration = StartRegistration(AllEvents, [this](const std::wstring&) { session->End(); });

    Emit(1, 1);

    EXPECT_EQ(Narrow(registration->End().text), "{\"result\":0}");
}

} // namespace

} // namespace Zv::Testing
