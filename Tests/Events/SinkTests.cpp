// The sink as a COM object: what WMI calls and what it gets back.

#include "Tests/Events/EventTest.h"

#include <limits>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::WMI::ComPtr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Names the call in the log of a sink.
LogLine SinkCallFailed(const char* method, const wchar_t* call, HRESULT hr)
{
    return CallFailed(BiosWmiEventSinkClass, method, call, hr);
}

class EventSink : public EventTest
{
protected:
    EventSink()
    {
        Subscribe();
        sink = events.ModuleSink();
        transcript.Clear();
    }
    void TearDown() override
    {
        sink.Reset();
        EventTest::TearDown();
    }

    EventSource::Sink sink;
};

TEST_F(EventSink, GivesItselfAsUnknownAndAsObjectSink)
{
    for (const IID& iid : {IID_IUnknown, IID_IWbemObjectSink})
    {
        ComPtr<IUnknown> same;
        EXPECT_EQ(sink->QueryInterface(iid, same.ReceiveVoid()), S_OK);
        EXPECT_EQ(static_cast<void*>(same.Get()), static_cast<void*>(sink.Get()));
    }
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(EventSink, HasNoOtherInterfaceAndLeavesTheOutputUntouched)
{
    int marker = 0;
    void* other = &marker;

    EXPECT_EQ(sink->QueryInterface(IID_IWbemServices, &other), static_cast<HRESULT>(0x80004002));

    EXPECT_EQ(other, &marker);
    EXPECT_THAT(Log(), ElementsAre(SinkCallFailed("QueryInterface", L"QueryInterface", E_NOINTERFACE)));
}

TEST_F(EventSink, RefusesToQueryWithoutAnOutput)
{
    EXPECT_EQ(sink->QueryInterface(IID_IUnknown, nullptr), static_cast<HRESULT>(0x80004003));

    EXPECT_THAT(Log(), ElementsAre(SinkCallFailed("QueryInterface", L"QueryInterface", E_POINTER)));
}

TEST_F(EventSink, CountsItsReferences)
{
    const ULONG count = sink->AddRef();
    EXPECT_EQ(sink->AddRef(), count + 1);
    EXPECT_EQ(sink->Release(), count);
    EXPECT_EQ(sink->Release(), count - 1);
    EXPECT_EQ(count, 4u); // the subscription, the stub, this test and the one just taken
}

TEST_F(EventSink, OutlivesItsSessionAsLongAsWmiHoldsIt)
{
    session->End();

    EXPECT_EQ(sink->AddRef(), 2u);
    EXPECT_EQ(sink->Release(), 1u);
    EXPECT_GT(ledgers.heap.Count(), 0u);
    ExpectComLeftByAnotherThread();
}

TEST_F(EventSink, RefusesAMissingArray)
{
    EXPECT_EQ(sink->Indicate(1, nullptr), static_cast<HRESULT>(0x80041008));
    EXPECT_EQ(sink->Indicate(0, nullptr), static_cast<HRESULT>(0x80041008));

    const LogLine line = CannotBeNull(BiosWmiEventSinkClass, "Indicate", "apObjArray");
    EXPECT_THAT(Log(), ElementsAre(line, line));
}

TEST_F(EventSink, TakesNothingFromAnEmptyArray)
{
    IWbemClassObject* none[] = {nullptr};

    EXPECT_EQ(sink->Indicate(0, none), 0);
    EXPECT_EQ(sink->Indicate(-1, none), 0);

    EXPECT_THAT(transcript.All(), IsEmpty());
}

TEST_F(EventSink, StopsAtAMissingObject)
{
    const ComPtr<IWbemClassObject> first{wmi->NewObject(FirmwareEvent(1, 1))};
    const ComPtr<IWbemClassObject> third{wmi->NewObject(FirmwareEvent(3, 3))};
    IWbemClassObject* objects[] = {first.Get(), nullptr, third.Get()};
    const auto registration = StartRegistration(AllEvents);

    EXPECT_EQ(sink->Indicate(3, objects), static_cast<HRESULT>(0x80041008));

    Emit(4, 4);
    registration->WaitForEvents(2);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 1), EventText(4, 4)));
    EXPECT_THAT(Log(), ElementsAre(CannotBeNull(BiosWmiEventSinkClass, "Indicate", "apObjArray[i]")));
}

TEST_F(EventSink, TakesSeveralObjectsInTheirOrder)
{
    const ComPtr<IWbemClassObject> first{wmi->NewObject(FirmwareEvent(1, 1))};
    const ComPtr<IWbemClassObject> second{wmi->NewObject(FirmwareEvent(2, 2))};
    IWbemClassObject* objects[] = {first.Get(), second.Get(), first.Get()};
    const auto registration = StartRegistration(AllEvents);

    EXPECT_EQ(sink->Indicate(3, objects), 0);

    registration->WaitForEvents(3);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(1, 1), EventText(2, 2), EventText(1, 1)));
}

TEST_F(EventSink, ReadsItsTwoPropertiesWithoutFlags)
{
    const auto registration = StartRegistration(AllEvents);

    Emit(1, 1);
    registration->WaitForEvents(1);
    Stop(*registration);

    EXPECT_THAT(transcript.Of({L"zvqBEvnt::Get("}), ElementsAre(L"zvqBEvnt::Get(\"EventID\", 0) = 0x00000000",
                                                                L"zvqBEvnt::Get(\"EventData\", 0) = 0x00000000"));
}

TEST_F(EventSink, APropertyThatCannotBeReadIsLoggedAndCountsAs0)
{
    Fail("IWbemClassObject::Get", Fault::Nth(1, static_cast<HRESULT>(WBEM_E_NOT_FOUND)));
    Fail("IWbemClassObject::Get", Fault::Nth(4, E_OUTOFMEMORY));
    const auto registration = StartRegistration(AllEvents);

    Emit(1, 2);
    Emit(3, 4);
    registration->WaitForEvents(2);
    Stop(*registration);

    EXPECT_THAT(registration->Events(), ElementsAre(EventText(0, 2), EventText(3, 0)));
    EXPECT_THAT(Log(), ElementsAre(SinkCallFailed("Indicate", L"Get(EventID)", static_cast<HRESULT>(WBEM_E_NOT_FOUND)),
                                   SinkCallFailed("Indicate", L"Get(EventData)", E_OUTOFMEMORY)));
}

// A value, and the number that it converts to.
struct Conversion
{
    Value value;
    int number;
};

TEST_F(EventSink, ValuesAreConvertedToSigned32BitIntegers)
{
    const Conversion conversions[] = {
        {Value::Int(-1), -1},
        {Value::Int(static_cast<int>(0xffffffff), CIM_UINT32), -1}, // an unsigned number arrives as VT_I4
        {Value::Bool(true), -1},
        {Value::Text(L"131073"), 131073},
        {Value::Text(L" -5 "), -5},
        {Value::Other([](VARIANT* v) { return V_VT(v) = VT_INT, V_INT(v) = 7, S_OK; }), 7},
        {Value::Other([](VARIANT* v) { return V_VT(v) = VT_UI1, V_UI1(v) = 255, S_OK; }), 255},
        {Value::Other([](VARIANT* v) { return V_VT(v) = VT_R8, V_R8(v) = 2.4, S_OK; }), 2},
        {Value::Other([](VARIANT* v) { return V_VT(v) = VT_EMPTY, S_OK; }), 0},
    };
    const auto registration = StartRegistration(AllEvents);
    std::vector<std::wstring> expected;
    for (const Conversion& conversion : conversions)
    {
        Emit(FirmwareEvent(conversion.value, conversion.value));
        expected.push_back(EventText(conversion.number, conversion.number));
    }
    registration->WaitForEvents(expected.size());
    Stop(*registration);

    EXPECT_THAT(registration->Events(), ::testing::ElementsAreArray(expected));
    EXPECT_EQ(plan.Calls("VariantChangeType"), 2 * (static_cast<int>(std::size(conversions)) - 1)); // VT_INT stays
}

TEST_F(EventSink, AnIdThatCannotBeConvertedRaisesOutOfIndicateAndFreesTheSlot)
{
    const std::vector<std::wstring> filters = {Filter(5), AllEvents};
    for (const std::wstring& filter : filters)
    {
        const auto registration = StartRegistration(filter);

        EXPECT_ANY_THROW(Emit(FirmwareEvent(Value::Text(L"five"), Value::Int(1))));
        EXPECT_ANY_THROW(Emit(FirmwareEvent(Value::Null(), Value::Int(2))));

        Emit(5, 3);
        registration->WaitForEvents(1);
        Stop(*registration);
        EXPECT_THAT(registration->Events(), ElementsAre(EventText(5, 3)));
    }
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(EventSink, DataThatCannotBeConvertedRaisesOutOfIndicateAndFreesTheSlot)
{
    const auto registration = StartRegistration(Filter(5));

    EXPECT_ANY_THROW(Emit(FirmwareEvent(Value::Int(5), Value::Text(L"much"))));

    Emit(5, 3);
    registration->WaitForEvents(1);
    Stop(*registration);
    EXPECT_THAT(registration->Events(), ElementsAre(EventText(5, 3)));
}

TEST_F(EventSink, DataOfAnEventThatIsFilteredOutIsNotConverted)
{
    const auto registration = StartRegistration(Filter(5));

    EXPECT_EQ(Emit(FirmwareEvent(Value::Int(6), Value::Text(L"much"))), 0);

    Stop(*registration);
}

TEST_F(EventSink, ReportsCompletionAndProgressToTheDebugger)
{
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_COMPLETE, static_cast<HRESULT>(0x80041032), nullptr, nullptr), 0);
    EXPECT_EQ(sink->SetStatus(0, S_OK, nullptr, nullptr), 0);
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_PROGRESS, S_OK, nullptr, nullptr), 0);
    EXPECT_EQ(sink->SetStatus(1, S_OK, nullptr, nullptr), 0);
    EXPECT_EQ(sink->SetStatus(3, S_OK, nullptr, nullptr), 0);

    EXPECT_THAT(transcript.All(), ElementsAre(L"OutputDebugStringW(\"Call complete. hResult = 0x80041032\n\")",
                                              L"OutputDebugStringW(\"Call complete. hResult = 0x0\n\")",
                                              L"OutputDebugStringW(\"Call in progress.\n\")"));
}

TEST_F(EventSink, AnEventHandleThatCannotBeClosedIsReportedByItsEnd)
{
    const auto registration = StartRegistration(AllEvents);
    Emit(1, 1);
    registration->WaitForEvents(1);
    Stop(*registration);
    transcript.Clear();
    calls->Replace<"CloseHandle", decltype(CloseHandle)>([this](HANDLE handle) -> BOOL {
        calls->Original<"CloseHandle", decltype(CloseHandle)>()(handle);
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });

    session->End();
    sink.Reset();

    EXPECT_THAT(Log(), ElementsAre(Error(L"%S.%S - Windows API %s error, GetLastError = %d", BiosWmiEventSinkClass,
                                         "~BiosWmiEventSink", L"CloseHandle", ERROR_INVALID_HANDLE)));
    ExpectComLeftByAnotherThread();
}

} // namespace

} // namespace Zv::Testing
