// What the register command returns, when, and what it writes into the log.

#include "Tests/Events/EventTest.h"

#include "Platform/Windows/WindowsDeclarations.h"

#include <stdexcept>

namespace Zv::Testing
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Registering = EventTest;

TEST_F(Registering, AnEventThatPassesIsGivenToTheCallbackAsCompactText)
{
    const auto registration = StartRegistration(Filter(20));

    Emit(20, 16711680);
    registration->WaitForEvents(1);
    Stop(*registration);

    EXPECT_THAT(registration->Events(), ElementsAre(EventText(20, 16711680)));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Registering, NegativeNumbersStayNegative)
{
    const auto registration = StartRegistration(Filter(-7));

    Emit(-7, -2147483647 - 1);
    registration->WaitForEvents(1);
    Stop(*registration);

    EXPECT_THAT(registration->Events(), ElementsAre(EventText(-7, -2147483647 - 1)));
}

TEST_F(Registering, ACompletedRegistrationAnswers0WhateverItsFilterWas)
{
    for (const std::wstring& request : {Filter(5), std::wstring{AllEvents}, std::wstring{L"{}"}, std::wstring{L"null"}})
    {
        const auto registration = StartRegistration(request);
        const Reply reply = Stop(*registration);
        EXPECT_EQ(reply.code, 0);
        EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
    }
}

TEST_F(Registering, ASecondRegistrationAddsItsIdAndReturnsAtOnce)
{
    const auto registration = StartRegistration(Filter(5));

    const Reply added = Register(Filter(6));
    const Reply again = Register(Filter(6));
    const Reply first = Register(Filter(5));

    EXPECT_EQ(added.code, 0);
    EXPECT_EQ(Narrow(added.text), "{\"result\":1}");
    EXPECT_EQ(Narrow(again.text), "{\"result\":3}");
    EXPECT_EQ(Narrow(first.text), "{\"result\":3}");

    Emit(6, 1);
    Emit(7, 2);
    Emit(5, 3);
    registration->WaitForEvents(2);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(6, 1), EventText(5, 3)));
}

TEST_F(Registering, ASecondRegistrationWithoutFilterLetsEveryEventPass)
{
    const auto registration = StartRegistration(Filter(5));

    const Reply reply = Register(AllEvents);
    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":2}");

    Emit(99, 1);
    registration->WaitForEvents(1);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(99, 1)));
}

TEST_F(Registering, AnIdAfterTheFiltersWereClearedIsNewAgain)
{
    const auto registration = StartRegistration(Filter(5));
    EXPECT_EQ(Narrow(Register(AllEvents).text), "{\"result\":2}");

    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":1}");

    Emit(6, 1);
    Emit(5, 2);
    registration->WaitForEvents(1);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(5, 2)));
}

TEST_F(Registering, AFilterThatIsNoNumberIsRefusedAndNothingIsSetUp)
{
    const Reply reply = Register(L"{\"filterEvent\":\"5\"}");

    EXPECT_EQ(reply.code, ResultCode::EventFilterInvalid);
    EXPECT_EQ(Narrow(reply.text), "{}");
    EXPECT_THAT(transcript.Calls(), IsEmpty());
    EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":2}");
}

TEST_F(Registering, TheEventsAreManualResetAndCarryTheSessionsNames)
{
    Subscribe();

    const std::vector<std::wstring> created = transcript.Of({L"CreateEventW("});
    ASSERT_EQ(created.size(), 2u);
    constexpr int uuidLength = 36;
    EXPECT_THAT(Narrow(created[0]), StartsWith("CreateEventW(null, 1, 0, \"zvtwe_"));
    EXPECT_EQ(created[0].size(), wcslen(L"CreateEventW(null, 1, 0, \"zvtwe_\") = ptr") + uuidLength);
    EXPECT_THAT(Narrow(created[1]), StartsWith("CreateEventW(null, 1, 0, \"zvttcb_"));
    EXPECT_EQ(created[1].size(), wcslen(L"CreateEventW(null, 1, 0, \"zvttcb_\") = ptr") + uuidLength);
    EXPECT_THAT(transcript.Of({L"WaitForMultipleObjects("}),
                ElementsAre(L"WaitForMultipleObjects(2, ptr, 0, 0xffffffff) = 0"));
}

TEST_F(Registering, TheStopEventThatCannotBeMadeEndsTheCommand)
{
    Fail("CreateEventW", Fault::Nth(1, 0, ERROR_NOT_ENOUGH_QUOTA));

    const Reply reply = Register(Filter(5));

    EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
    EXPECT_EQ(Narrow(reply.text), "{}");
    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - unable to create event, GetLastError = %d", WmiServiceClass,
                                         RegisterMethod, ERROR_NOT_ENOUGH_QUOTA)));
    EXPECT_THAT(transcript.Of({L"CloseHandle(", L"CoInitializeEx("}), IsEmpty());
    Subscribe();
}

TEST_F(Registering, WithoutFilterForgetsTheIdOfARegistrationThatCouldNotMakeItsEvent)
{
    Fail("CreateEventW", Fault::Nth(1, 0, ERROR_NOT_ENOUGH_QUOTA));
    ASSERT_EQ(Register(Filter(5)).code, ResultCode::GeneralFailure);

    const auto registration = StartRegistration(AllEvents);
    Emit(1, 1);

    registration->WaitForEvents(1);
    Stop(*registration);
}

TEST_F(Registering, TheCallbackEventThatCannotBeMadeEndsTheCommandAndClearsTheListener)
{
    Fail("CreateEventW", Fault::Nth(2, 0, ERROR_NOT_ENOUGH_QUOTA));

    const Reply reply = Register(Filter(5));

    EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
    EXPECT_EQ(Narrow(reply.text), "{}");
    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - unable to create event, GetLastError = %d", WmiServiceClass,
                                         RegisterMethod, ERROR_NOT_ENOUGH_QUOTA)));
    EXPECT_EQ(transcript.Of({L"CloseHandle("}).size(), 1u);
    EXPECT_THAT(transcript.Of({L"CoInitializeEx("}), IsEmpty());
    EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":2}");
    Subscribe();
}

TEST_F(Registering, AStopEventThatCannotBeClosedWithoutACallbackEventIsReported)
{
    Fail("CreateEventW", Fault::Nth(2, 0, ERROR_NOT_ENOUGH_QUOTA));
    // The handle is really closed: a leak would be this test's own.
    calls->Replace<"CloseHandle", decltype(CloseHandle)>([this](HANDLE handle) -> BOOL {
        calls->Original<"CloseHandle", decltype(CloseHandle)>()(handle);
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });

    EXPECT_EQ(Register(Filter(5)).code, ResultCode::GeneralFailure);

    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - unable to create event, GetLastError = %d", WmiServiceClass,
                                         RegisterMethod, ERROR_NOT_ENOUGH_QUOTA),
                                   Error(L"%S.%S - Windows API %s error, GetLastError = %d", WmiServiceClass,
                                         RegisterMethod, L"CloseHandle", ERROR_INVALID_HANDLE)));
}

TEST_F(Registering, HandlesThatCannotBeClosedAtTheEndAreReportedAndChangeNothingElse)
{
    const auto registration = StartRegistration(Filter(5));
    calls->Replace<"CloseHandle", decltype(CloseHandle)>([this](HANDLE handle) -> BOOL {
        calls->Original<"CloseHandle", decltype(CloseHandle)>()(handle);
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });

    const Reply reply = Stop(*registration);

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - Windows API %s error, GetLastError = %d", WmiServiceClass,
                                         RegisterMethod, L"CloseHandle", ERROR_INVALID_HANDLE)));
}

TEST_F(Registering, ASubscriptionThatCannotBeSetUpEndsTheCommandAndClearsTheListener)
{
    Fail("IWbemLocator::ConnectServer", Fault::Nth(1, E_ACCESSDENIED));

    const Reply reply = Register(Filter(5));

    EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
    EXPECT_EQ(Narrow(reply.text), "{}");
    EXPECT_THAT(Log(),
                ElementsAre(CallFailed(BiosWmiEventClass, "SetupSink", L"IWbemLocator->ConnectServer(WmiNamespace)",
                                       E_ACCESSDENIED),
                            Error(L"%S.%S - unable to create BiosWmiEvent class", WmiServiceClass, RegisterMethod)));
    EXPECT_EQ(transcript.Of({L"CloseHandle("}).size(), 2u);
    EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":2}");
    Subscribe();
}

TEST_F(Registering, AWaitThatFailsIsRepeatedAtOnce)
{
    Fail("WaitForMultipleObjects", Fault::Nth(1, WAIT_FAILED, ERROR_INVALID_HANDLE));
    Fail("WaitForMultipleObjects", Fault::Nth(2, WAIT_ABANDONED_0));
    Fail("WaitForMultipleObjects", Fault::Nth(3, WAIT_TIMEOUT));

    const auto registration = StartRegistration(Filter(5));
    waits.WaitFor(4);
    Emit(5, 1);
    registration->WaitForEvents(1);
    const Reply reply = Stop(*registration);

    EXPECT_EQ(reply.code, 0);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Registering, AnEmptyCallbackIsReportedForEachEventAndTheRegistrationGoesOn)
{
    const Reply reply = RegisterHere(AllEvents, ProgressCallback{}, [this] {
        Emit(1, 1);
        Emit(1, 2);
        Emit(1, 3); // the second was taken
        static_cast<void>(Unregister(AllEvents));
    });

    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
    const LogLine line = Warning(L"%S.%S - %S", WmiServiceClass, RegisterMethod, "bad function call");
    const std::vector<LogLine> log = Log();
    ASSERT_GE(log.size(), 2u);
    EXPECT_THAT(log, ::testing::Each(line));
}

TEST_F(Registering, AStandardExceptionOfTheCallbackIsLoggedAndTheRegistrationGoesOn)
{
    int raised = 0;
    const auto raise = [&raised](wchar_t*) {
        ++raised;
        throw std::runtime_error{"the client is upset"};
    };
    const Reply reply = RegisterHere(AllEvents, raise, [this] {
        Emit(1, 1);
        Emit(1, 2);
        Emit(1, 3);
        static_cast<void>(Unregister(AllEvents));
    });

    EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
    EXPECT_GE(raised, 2);
    EXPECT_THAT(Log(), ::testing::Each(Warning(L"%S.%S - %S", WmiServiceClass, RegisterMethod, "the client is upset")));
}

TEST_F(Registering, AnIntegerThatTheCallbackThrowsBecomesTheResultCode)
{
    const auto raise = [](wchar_t*) { throw 0x1234; };

    const Reply reply = RegisterHere(AllEvents, raise, [this] { Emit(1, 1); });

    EXPECT_EQ(reply.code, 0x1234);
    EXPECT_EQ(Narrow(reply.text), "{}");
    EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":2}");

    // The mailbox is free and nothing is signalled: the next registration gets just what comes from now on.
    const auto next = StartRegistration(AllEvents);
    Emit(2, 2);
    next->WaitForEvents(1);
    Stop(*next);
    EXPECT_THAT(next->Events(), ElementsAre(EventText(2, 2)));
}

TEST_F(Registering, WhateverElseTheCallbackThrowsIsAGeneralFailure)
{
    struct Unknown
    {
    };
    const auto raise = [](wchar_t*) { throw Unknown{}; };

    const Reply reply = RegisterHere(AllEvents, raise, [this] { Emit(1, 1); });

    EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
    EXPECT_EQ(Narrow(reply.text), "{}");
    Subscribe();
}

TEST_F(Registering, AClientThatCancelledOrIsGoneEndsTheRegistrationAtTheNextEvent)
{
    for (const unsigned long status : {1ul, 2ul})
    {
        // A session each: this end leaves the callback event set.
        session.emplace(service->Get(), ClientId);
        const auto registration = StartRegistration(AllEvents);
        callStatus = status;

        Emit(1, 1);
        const Reply reply = registration->End();

        EXPECT_EQ(reply.code, 0);
        EXPECT_EQ(Narrow(reply.text), "{\"result\":0}");
        EXPECT_THAT(registration->Events(), IsEmpty());
        EXPECT_THAT(transcript.Of({L"ResetEvent("}), IsEmpty());
        callStatus = 0;
    }
}

TEST_F(Registering, AnyOtherStatusOfTheClientLetsEventsPass)
{
    const auto registration = StartRegistration(AllEvents);
    for (const unsigned long status : {0ul, 3ul, 4ul, 0xfffffffful})
    {
        callStatus = status;
        Emit(1, static_cast<int>(status));
    }
    registration->WaitForEvents(4);
    callStatusResult = RPC_S_NO_CALL_ACTIVE; // counts for nothing
    callStatus = 0;
    Emit(1, 5);
    registration->WaitForEvents(5);
    Stop(*registration);
}

TEST_F(Registering, TheClientIsAskedForWithAnEmptyVersion3Block)
{
    std::atomic<int> asked = 0;
    calls->Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
        [&asked](RPC_BINDING_HANDLE binding, void* block) -> RPC_STATUS {
            RPC_CALL_ATTRIBUTES_V3_W expected{};
            expected.Version = 3;
            EXPECT_EQ(binding, nullptr);
            EXPECT_EQ(memcmp(block, &expected, sizeof expected), 0);
            ++asked;
            return RPC_S_NO_CALL_ACTIVE;
        });
    const auto registration = StartRegistration(AllEvents);
    EXPECT_EQ(asked, 0); // not before an event comes

    Emit(1, 1);
    registration->WaitForEvents(1);
    Stop(*registration);

    EXPECT_EQ(asked, 1);
}

} // namespace

} // namespace Zv::Testing
