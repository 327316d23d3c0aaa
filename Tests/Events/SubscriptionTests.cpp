// How a subscription is set up and torn down, and every way in which that fails.

#include "Tests/Events/EventTest.h"

namespace Zv::Testing
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr wchar_t Initialize[] = L"CoInitializeEx(null, 0) = 0x0000000";

// The calls of set-up and tear-down, without those of the registration around them.
const std::vector<std::wstring> ConnectionCalls = {
    L"Co", L"IWbemLocator::", L"IWbemServices::", L"IUnsecuredApartment::", L"Stub::",
};

class Subscription : public EventTest
{
protected:
    Subscription() { LetRegistrationsEndAtOnce(); }

    [[nodiscard]] std::vector<std::wstring> Connection() const { return transcript.Of(ConnectionCalls); }
};

TEST_F(Subscription, IsMadeInThisOrderWithTheseArguments)
{
    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");

    std::vector<std::wstring> connection = Connection();
    ASSERT_EQ(connection.size(), 9u);
    EXPECT_THAT(Narrow(connection[0]), ::testing::StartsWith(Narrow(Initialize))); // S_OK or S_FALSE
    EXPECT_THAT(Narrow(connection[1]),
                ::testing::StartsWith("CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)"));
    connection.erase(connection.begin(), connection.begin() + 2);
    EXPECT_THAT(
        connection,
        ElementsAre(L"CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator, ptr) = 0x00000000",
                    L"IWbemLocator::ConnectServer(\"\\\\.\\root\\wmi\", null, null, null, 0, null, null) = 0x00000000",
                    L"CoSetProxyBlanket(ptr, 0xa, 0, null, 3, 3, null, 0) = 0x00000000",
                    L"CoCreateInstance(CLSID_UnsecuredApartment, null, 4, IID_IUnsecuredApartment, ptr) = 0x00000000",
                    L"IUnsecuredApartment::CreateObjectStub(ptr) = 0x00000000",
                    L"IWbemServices::ExecNotificationQueryAsync(\"WQL\", \"SELECT * from zvqBEvnt\", 128, null, ptr) = "
                    L"0x00000000",
                    L"CoIncrementMTAUsage(ptr) = 0x00000000"));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Subscription, OutlivesItsRegistrationAndServesTheNextOne)
{
    EXPECT_EQ(Register(Filter(5)).code, 0);
    const EventSource::Sink first = events.ModuleSink();
    transcript.Clear();

    EXPECT_EQ(Register(Filter(6)).code, 0);

    EXPECT_THAT(Connection(), IsEmpty());
    EXPECT_EQ(transcript.Of({L"CreateEventW("}).size(), 2u);
    EXPECT_EQ(events.ModuleSink().Get(), first.Get());
    EXPECT_EQ(events.Subscriptions(), 1u);
}

TEST_F(Subscription, IsCancelledAndReleasedInThisOrderWithItsSession)
{
    EXPECT_EQ(Register(Filter(5)).code, 0);
    transcript.Clear();

    session->End();

    EXPECT_THAT(Connection(), ElementsAre(L"IWbemServices::CancelAsyncCall(ptr) = 0x00000000", L"Stub::Release() = 0",
                                          L"IUnsecuredApartment::Release() = 0", L"IWbemServices::Release() = 0",
                                          L"IWbemLocator::Release() = 0", L"CoUninitialize()",
                                          L"CoDecrementMTAUsage(ptr) = 0x00000000"));
    EXPECT_THAT(transcript.Of({L"OutputDebugStringW("}),
                ElementsAre(L"OutputDebugStringW(\"Call complete. hResult = 0x80041032\n\")"));
}

TEST_F(Subscription, IsMadeAllTheSameWhenTheApartmentCannotBeHeld)
{
    for (const HRESULT refused : {E_OUTOFMEMORY, E_UNEXPECTED})
    {
        Fail("CoIncrementMTAUsage", Fault::Nth(1, refused));

        EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");
        session->End();

        EXPECT_THAT(Log(), IsEmpty());
        EXPECT_EQ(plan.Calls("CoIncrementMTAUsage"), 1);
        EXPECT_EQ(plan.Calls("CoDecrementMTAUsage"), 0) << "only what was taken is given back";
        session.emplace(service->Get(), ClientId);
        plan.Clear();
    }
}

TEST_F(Subscription, DoesNotGiveTheApartmentBackWhileTheProcessEnds)
{
    CO_MTA_USAGE_COOKIE hold = nullptr;
    calls->Replace<"CoIncrementMTAUsage", decltype(CoIncrementMTAUsage)>([&](CO_MTA_USAGE_COOKIE* cookie) {
        const HRESULT hr = CoIncrementMTAUsage(cookie);
        hold = *cookie;
        return hr;
    });
    EXPECT_EQ(Register(Filter(5)).code, 0);
    calls->Replace<"RtlDllShutdownInProgress", BOOLEAN()>([]() -> BOOLEAN { return TRUE; });

    session->End();

    EXPECT_EQ(plan.Calls("CoDecrementMTAUsage"), 0);
    ASSERT_NE(hold, nullptr);
    CoDecrementMTAUsage(hold);
    ledgers.mtaUsages.Given(hold);
}

TEST_F(Subscription, OfASessionThatNeverRegisteredDoesNotExist)
{
    session->End();

    EXPECT_THAT(Connection(), IsEmpty());
}

// A step that fails: the call, its name in the log, and what is released after it, in order.
struct Step
{
    const char* site;
    int call;
    HRESULT hr;
    const wchar_t* text;
    std::vector<std::wstring> cleanUp;
};

TEST_F(Subscription, EachStepThatFailsIsLoggedAndEverythingBeforeItIsGivenBackInOrder)
{
    const std::vector<Step> steps = {
        {"CoCreateInstance", 1, REGDB_E_CLASSNOTREG, L"CoCreateInstance", {L"CoUninitialize()"}},
        {"IWbemLocator::ConnectServer",
         1,
         static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE),
         L"IWbemLocator->ConnectServer(WmiNamespace)",
         {L"IWbemLocator::Release() = 0", L"CoUninitialize()"}},
        {"CoSetProxyBlanket",
         1,
         E_NOINTERFACE,
         L"CoSetProxyBlanket",
         {L"IWbemServices::Release() = 0", L"IWbemLocator::Release() = 0", L"CoUninitialize()"}},
        {"IUnsecuredApartment::CreateObjectStub",
         1,
         E_ACCESSDENIED,
         L"CreateObjectStub",
         {L"IUnsecuredApartment::Release() = 0", L"IWbemServices::Release() = 0", L"IWbemLocator::Release() = 0",
          L"CoUninitialize()"}},
        {"Stub::QueryInterface",
         1,
         E_NOINTERFACE,
         L"QueryInterface(IID_IWbemObjectSink)",
         {L"Stub::Release() = 0", L"IUnsecuredApartment::Release() = 0", L"IWbemServices::Release() = 0",
          L"IWbemLocator::Release() = 0", L"CoUninitialize()"}},
        {"IWbemServices::ExecNotificationQueryAsync",
         1,
         static_cast<HRESULT>(WBEM_E_INVALID_CLASS),
         L"ExecNotificationQueryAsync",
         {L"Stub::Release() = 0", L"IUnsecuredApartment::Release() = 0", L"IWbemServices::Release() = 0",
          L"IWbemLocator::Release() = 0", L"CoUninitialize()"}},
    };
    for (const Step& step : steps)
    {
        SCOPED_TRACE(step.site);
        plan.Clear();
        transcript.Clear();
        Fail(step.site, Fault::Nth(step.call, step.hr));
        const std::size_t blocks = ledgers.heap.Count();

        const Reply reply = Register(Filter(5));

        EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
        EXPECT_EQ(Narrow(reply.text), "{}");
        EXPECT_THAT(
            Log(), ElementsAre(CallFailed(BiosWmiEventClass, "SetupSink", step.text, step.hr),
                               Error(L"%S.%S - unable to create BiosWmiEvent class", WmiServiceClass, RegisterMethod)));
        EXPECT_THAT(transcript.Of({L"Stub::Rel", L"IUnsecuredApartment::Rel", L"IWbemServices::Rel",
                                   L"IWbemLocator::Rel", L"CoUninitialize", L"IWbemServices::Cancel"}),
                    ::testing::ElementsAreArray(step.cleanUp));
        EXPECT_EQ(wmi->Outstanding(), 0);
        EXPECT_EQ(ledgers.comJoins.Uneven(), L"");
        EXPECT_EQ(ledgers.handles.Count(), 0u);
        EXPECT_EQ(ledgers.heap.Count(), blocks) << "not the sink either, though its session goes on";
    }
    plan.Clear();
    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");
}

TEST_F(Subscription, AStepThatSucceedsWithoutAnObjectHasFailedToo)
{
    const std::pair<const char*, const wchar_t*> steps[] = {
        {"IWbemLocator::ConnectServer", L"IWbemLocator->ConnectServer(WmiNamespace)"},
        {"IUnsecuredApartment::CreateObjectStub", L"CreateObjectStub"},
        {"Stub::QueryInterface", L"QueryInterface(IID_IWbemObjectSink)"},
    };
    for (const auto& [site, text] : steps)
    {
        SCOPED_TRACE(site);
        plan.Clear();
        transcript.Clear();
        Fail(site, Fault::Nth(1, S_OK));

        EXPECT_EQ(Register(Filter(5)).code, ResultCode::GeneralFailure);

        ASSERT_EQ(Log().size(), 2u);
        EXPECT_EQ(Log().front(), CallFailed(BiosWmiEventClass, "SetupSink", text, S_OK));
        EXPECT_EQ(wmi->Outstanding(), 0);
        EXPECT_EQ(ledgers.comJoins.Uneven(), L"");
    }
}

TEST_F(Subscription, WithoutAnUnsecuredApartmentTheStubFails)
{
    Fail("CoCreateInstance", Fault::Nth(2, REGDB_E_CLASSNOTREG));

    EXPECT_EQ(Register(Filter(5)).code, ResultCode::GeneralFailure);

    EXPECT_THAT(
        Log(),
        ElementsAre(CallFailed(BiosWmiEventClass, "SetupSink", L"CreateObjectStub", static_cast<HRESULT>(0x80004003)),
                    Error(L"%S.%S - unable to create BiosWmiEvent class", WmiServiceClass, RegisterMethod)));
    EXPECT_THAT(Connection(), Contains(L"IWbemLocator::Release() = 0"));
}

TEST_F(Subscription, AThreadThatCannotJoinComIsReportedAndTheSetUpGoesOn)
{
    Fail("CoInitializeEx", Fault::Nth(1, RPC_E_CHANGED_MODE));

    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");

    EXPECT_THAT(Log(), ElementsAre(CallFailed(BiosWmiEventClass, "SetupSink", L"CoInitializeEx", RPC_E_CHANGED_MODE)));
    session->End();
    EXPECT_EQ(ledgers.comJoins.Take(), -1); // COM is left by contract even where joining it failed
}

TEST_F(Subscription, SecurityThatCannotBeSetIsReportedAndTheSetUpGoesOn)
{
    Fail("CoInitializeSecurity", Fault::Nth(1, E_INVALIDARG));

    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");

    EXPECT_THAT(Log(), ElementsAre(CallFailed(BiosWmiEventClass, "SetupSink", L"CoInitializeSecurity", E_INVALIDARG)));
}

TEST_F(Subscription, SecurityThatTheHostHasSetIsFine)
{
    Fail("CoInitializeSecurity", Fault::Nth(1, RPC_E_TOO_LATE));

    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");

    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Subscription, ABstrThatCannotBeMadeIsAGeneralFailureAndNothingStaysBehind)
{
    for (const char* const function : {"SysAllocString", "SysAllocStringLen"})
    {
        for (int call = 1; call <= (std::string_view{function} == "SysAllocString" ? 1 : 2); ++call)
        {
            SCOPED_TRACE(std::string{function} + " " + std::to_string(call));
            plan.Clear();
            transcript.Clear();
            Fail(function, Fault::Nth(call, 0));

            const Reply reply = Register(Filter(5));

            EXPECT_EQ(reply.code, ResultCode::GeneralFailure);
            EXPECT_EQ(Narrow(reply.text), "{}");
            EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - unable to create BiosWmiEvent class", WmiServiceClass,
                                                 RegisterMethod)));
            EXPECT_EQ(wmi->Outstanding(), 0);
            EXPECT_EQ(ledgers.comJoins.Uneven(), L"");
        }
    }
    plan.Clear();
    EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");
}

TEST_F(Subscription, EveryAllocationMayFailOnceOrFromThenOn)
{
    plan.Clear();
    EXPECT_EQ(Register(Filter(5)).code, 0);
    const int allocations = plan.Calls("malloc");
    ASSERT_GT(allocations, 5);

    session->End();
    for (const bool fromThenOn : {false, true})
    {
        for (int call = 1; call <= allocations; ++call)
        {
            SCOPED_TRACE((fromThenOn ? "from allocation " : "allocation ") + std::to_string(call));
            session.emplace(service->Get(), ClientId);
            plan.Clear();
            Fail("malloc", fromThenOn ? Fault::From(call, 0) : Fault::Nth(call, 0));
            const Reply reply = Register(Filter(5));
            EXPECT_GT(plan.Calls("malloc"), 0);
            plan.Clear();

            // The response may have been the allocation that failed.
            EXPECT_TRUE(reply.code == ResultCode::GeneralFailure || reply.code == 0) << reply.code;
            EXPECT_EQ(Narrow(Unregister(AllEvents).text), "{\"result\":2}"); // nobody is believed to wait
            EXPECT_EQ(Narrow(Register(Filter(5)).text), "{\"result\":0}");
            session->End();
            EXPECT_EQ(wmi->Outstanding(), 0);
            EXPECT_EQ(ledgers.comJoins.Uneven(), L"");
            EXPECT_EQ(ledgers.handles.Count(), 0u);
        }
    }
}

} // namespace

} // namespace Zv::Testing
