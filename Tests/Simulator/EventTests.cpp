#include "Tests/Simulator/Client.h"
#include "Tests/Simulator/Sink.h"
#include "Tests/Support/Watchdog.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/State/Worker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Zv::Testing
{

using Simulator::Machine;
using Simulator::ObjectKind;
using Simulator::Status;
using Simulator::Worker;

namespace
{

constexpr DWORD SoonMilliseconds = 20000;

class EventTests : public testing::Test
{
protected:
    HRESULT Subscribe(const wchar_t* query, IWbemObjectSink* sink, LONG flags = WBEM_FLAG_SEND_STATUS,
                      const wchar_t* language = L"WQL")
    {
        return m_services->ExecNotificationQueryAsync(
            Bstr{language}.Get(), query == nullptr ? nullptr : Bstr{query}.Get(), flags, nullptr, sink);
    }

    // A subscription made the way the module makes it; the stub is what WMI knows.
    ComPtr<IWbemObjectSink> SubscribeThroughStub(Sink& sink)
    {
        ComPtr<IUnsecuredApartment> apartment;
        EXPECT_EQ(S_OK, m_machine.CreateInstance(CLSID_UnsecuredApartment, nullptr, CLSCTX_LOCAL_SERVER,
                                                 IID_IUnsecuredApartment, apartment.ReceiveVoid()));
        ComPtr<IUnknown> stub;
        EXPECT_EQ(S_OK, apartment->CreateObjectStub(&sink, stub.Receive()));
        ComPtr<IWbemObjectSink> stubSink;
        EXPECT_EQ(S_OK, stub->QueryInterface(IID_IWbemObjectSink, stubSink.ReceiveVoid()));
        EXPECT_EQ(S_OK, Subscribe(L"SELECT * from zvqBEvnt", stubSink.Get()));
        return stubSink;
    }

    Watchdog m_watchdog{"EventTests"};
    Machine m_machine = LoadMachine("notebook.json");
    ComPtr<IWbemServices> m_services = Connected(m_machine, L"\\\\.\\root\\wmi");
};

} // namespace

TEST_F(EventTests, AnEventWithoutDataHasNullInItsPlace)
{
    Sink sink;
    ASSERT_EQ(S_OK, Subscribe(L"SELECT * FROM zvqBEvnt", &sink));
    EXPECT_EQ(1U, m_machine.FireEventWithoutData(20));
    EXPECT_EQ(L"VT_I4 20, VT_NULL", sink.Events().back());
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(&sink));
}

TEST_F(EventTests, AnEventReachesTheSinkThroughItsStub)
{
    Sink sink;
    {
        const ComPtr<IWbemObjectSink> stub = SubscribeThroughStub(sink);
        EXPECT_EQ(1U, m_machine.FireEvent(20, -1));
        EXPECT_EQ((std::vector<std::wstring>{L"VT_I4 20, VT_I4 -1"}), sink.Events());
        EXPECT_EQ(S_OK, m_services->CancelAsyncCall(stub.Get()));
    }
    EXPECT_EQ(0, sink.References());
    m_services.Reset();
    EXPECT_EQ("nothing", m_machine.Outstanding().Describe());
}

TEST_F(EventTests, ASubscriptionKeepsReferencesOfItsOwn)
{
    Sink sink;
    ComPtr<IWbemObjectSink> stub = SubscribeThroughStub(sink);
    EXPECT_EQ(2U, m_machine.Outstanding().Of(ObjectKind::ObjectStub)) << "ours and the subscription's";
    IWbemObjectSink* const address = stub.Get();
    stub.Reset();
    EXPECT_EQ(1, sink.References());
    EXPECT_EQ(1U, m_machine.FireEvent(3, 0));
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(address));
    EXPECT_EQ(0, sink.References());
    EXPECT_EQ(0U, m_machine.Outstanding().Of(ObjectKind::ObjectStub));
}

TEST_F(EventTests, CancellingEndsTheDeliveryAndTellsTheSink)
{
    Sink sink;
    const ComPtr<IWbemObjectSink> stub = SubscribeThroughStub(sink);
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(stub.Get()));
    EXPECT_EQ((std::vector<std::wstring>{L"0, WBEM_E_CALL_CANCELLED"}), sink.Statuses());
    EXPECT_EQ(0U, m_machine.FireEvent(20, 0));
    EXPECT_TRUE(sink.Events().empty());
    EXPECT_EQ(Status(WBEM_E_NOT_FOUND), m_services->CancelAsyncCall(stub.Get()));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), m_services->CancelAsyncCall(nullptr));
}

TEST_F(EventTests, ADeliveryUnderWayGoesOnAfterTheCancellation)
{
    Sink sink;
    sink.Block();
    const ComPtr<IWbemObjectSink> stub = SubscribeThroughStub(sink);
    m_machine.PostEvent(20, 1);
    ASSERT_TRUE(sink.WaitForCalls(1, SoonMilliseconds));
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(stub.Get()));
    EXPECT_LT(0, sink.References()) << "the delivery still uses the sink";
    sink.Unblock();
    ASSERT_TRUE(sink.WaitForEvents(1, SoonMilliseconds));
}

TEST_F(EventTests, TheConditionChoosesTheEvents)
{
    Sink sink;
    ASSERT_EQ(S_OK, Subscribe(L"SELECT * FROM zvqBEvnt WITHIN 2 WHERE EventID = 20 AND EventData >= 5", &sink));
    EXPECT_EQ(0U, m_machine.FireEvent(21, 7));
    EXPECT_EQ(0U, m_machine.FireEvent(20, 4));
    EXPECT_EQ(1U, m_machine.FireEvent(20, 5));
    EXPECT_EQ((std::vector<std::wstring>{L"VT_I4 20, VT_I4 5"}), sink.Events());
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(&sink));
}

TEST_F(EventTests, ASubscriptionThatCannotBeIsRefused)
{
    Sink sink;
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), Subscribe(L"SELECT * FROM zvqBEvnt", nullptr));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), Subscribe(nullptr, &sink));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), Subscribe(L"", &sink));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), Subscribe(L"", &sink, 0, L"SQL"));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), Subscribe(L"SELECT * FROM zvqBEvnt", &sink, WBEM_FLAG_FORWARD_ONLY));
    EXPECT_EQ(Status(WBEM_E_INVALID_QUERY_TYPE), Subscribe(L"SELECT * FROM zvqBEvnt", &sink, 0, L"SQL"));
    EXPECT_EQ(Status(WBEM_E_UNPARSABLE_QUERY), Subscribe(L"SELECT FROM zvqBEvnt", &sink));
    EXPECT_EQ(Status(WBEM_E_INVALID_CLASS), Subscribe(L"SELECT * FROM zvqNone", &sink));
    EXPECT_EQ(Status(WBEM_E_NOT_EVENT_CLASS), Subscribe(L"SELECT * FROM zvqBIntM", &sink));
    EXPECT_EQ(Status(WBEM_E_INVALID_QUERY), Subscribe(L"SELECT * FROM zvqBEvnt WHERE None = 1", &sink));
    EXPECT_EQ(0, sink.References());
    EXPECT_EQ(0U, m_machine.Subscriptions());
}

TEST_F(EventTests, SeveralThreadsDeliverAtTheSameTime)
{
    Sink sink;
    sink.Block();
    ASSERT_EQ(S_OK, Subscribe(L"SELECT * FROM zvqBEvnt", &sink));
    for (int i = 0; i < 4; ++i)
    {
        m_machine.PostEvent(i, 0);
    }
    EXPECT_TRUE(sink.WaitForCalls(4, SoonMilliseconds)) << "all four are inside the sink at once";
    sink.Unblock();
    EXPECT_TRUE(sink.WaitForEvents(4, SoonMilliseconds));
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(&sink));
}

TEST_F(EventTests, EventsOfOneThreadArriveInItsOrderWhileOthersFireToo)
{
    constexpr int perProducer = 2000;
    Sink sink;
    ASSERT_EQ(S_OK, Subscribe(L"SELECT * FROM zvqBEvnt", &sink));
    {
        std::vector<Worker> producers;
        for (int producer = 0; producer < 4; ++producer)
        {
            producers.emplace_back([this, producer] {
                for (int i = 0; i < perProducer; ++i)
                {
                    m_machine.FireEvent(producer, i);
                }
            });
        }
        for (const Worker& producer : producers)
        {
            ASSERT_TRUE(producer.WaitFor(SoonMilliseconds));
        }
    }
    const std::vector<std::wstring> events = sink.Events();
    EXPECT_EQ(4U * perProducer, events.size());
    for (int producer = 0; producer < 4; ++producer)
    {
        const std::wstring prefix = L"VT_I4 " + std::to_wstring(producer) + L", VT_I4 ";
        int next = 0;
        for (const std::wstring& event : events)
        {
            if (event.starts_with(prefix))
            {
                ASSERT_EQ(prefix + std::to_wstring(next), event);
                ++next;
            }
        }
        EXPECT_EQ(perProducer, next);
    }
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(&sink));
}

TEST_F(EventTests, AnExceptionOutOfASinkEndsInItsStub)
{
    Sink sink;
    sink.Throw();
    const ComPtr<IWbemObjectSink> stub = SubscribeThroughStub(sink);
    EXPECT_EQ(1U, m_machine.FireEvent(1, 1));
    const auto sinks = m_machine.Sinks();
    ASSERT_EQ(1U, sinks.size());
    IWbemClassObject* object = nullptr;
    EXPECT_EQ(RPC_E_SERVERFAULT, sinks[0]->Indicate(1, &object));
    EXPECT_EQ(S_OK, m_services->CancelAsyncCall(stub.Get()));
}

TEST_F(EventTests, AStubNeedsASink)
{
    ComPtr<IUnsecuredApartment> apartment;
    ASSERT_EQ(S_OK, m_machine.CreateInstance(CLSID_UnsecuredApartment, nullptr, CLSCTX_LOCAL_SERVER,
                                             IID_IUnsecuredApartment, apartment.ReceiveVoid()));
    ComPtr<IUnknown> stub;
    EXPECT_EQ(E_POINTER, apartment->CreateObjectStub(nullptr, stub.Receive()));
    EXPECT_EQ(E_NOINTERFACE, apartment->CreateObjectStub(m_services.Get(), stub.Receive()));
    EXPECT_FALSE(stub);
}

TEST_F(EventTests, AMachineThatGoesDropsItsSubscriptions)
{
    Sink sink;
    ASSERT_EQ(S_OK, Subscribe(L"SELECT * FROM zvqBEvnt", &sink));
    {
        const Machine gone = std::move(m_machine);
        EXPECT_EQ(1U, gone.Subscriptions());
    }
    EXPECT_EQ(0, sink.References());
    EXPECT_TRUE(sink.Statuses().empty());
}

TEST(EventScheduleTests, TheScheduleStartsWithTheFirstSubscription)
{
    const Watchdog watchdog{"EventScheduleTests"};
    Machine machine = Machine::Parse(R"({
        "version": 1, "name": "m",
        "namespaces": [{"path": "root/wmi", "classes": [
            {"name": "E", "event": true, "properties": {"EventID": "uint32", "EventData": "uint32"}}]}],
        "events": {"namespace": "root/wmi", "class": "E", "threads": 2, "schedule": [
            {"atMs": 5, "id": 7, "data": 1},
            {"atMs": 10, "everyMs": 5, "times": 3, "id": 8},
            {"id": 9, "burst": 4}]}})");
    const ComPtr<IWbemServices> services = Connected(machine, L"root/wmi");
    Sink sink;
    ASSERT_EQ(S_OK, services->ExecNotificationQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM E"}.Get(), 0, nullptr,
                                                         &sink));
    ASSERT_TRUE(sink.WaitForEvents(8, SoonMilliseconds));
    EXPECT_EQ(S_OK, services->CancelAsyncCall(&sink));
    std::vector<std::wstring> events = sink.Events();
    std::sort(events.begin(), events.end());
    EXPECT_EQ(
        (std::vector<std::wstring>{L"VT_I4 7, VT_I4 1", L"VT_I4 8, VT_NULL", L"VT_I4 8, VT_NULL", L"VT_I4 8, VT_NULL",
                                   L"VT_I4 9, VT_NULL", L"VT_I4 9, VT_NULL", L"VT_I4 9, VT_NULL", L"VT_I4 9, VT_NULL"}),
        events);
}

TEST(EventScheduleTests, AMachineWithoutEventsFiresNone)
{
    Machine machine = Machine::Parse(R"({"version": 1, "name": "m", "namespaces": []})");
    EXPECT_THROW(machine.FireEvent(1, 1), std::logic_error);
    EXPECT_FALSE(machine.WaitForSubscriptions(1, std::chrono::milliseconds{1}));
}

} // namespace Zv::Testing
