// Objects of a simulated machine live as long as the apartment that they were handed out in.
#include "Tests/Simulator/Client.h"
#include "Tests/Simulator/Sink.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <functional>
#include <thread>

namespace Zv::Testing
{

using Simulator::Machine;
using Simulator::Site;

namespace
{

// The test's thread is no member of an apartment, and there is none.
class ApartmentTests : public testing::Test
{
protected:
    ApartmentTests()
    {
        CoUninitialize();
        APTTYPE type{};
        APTTYPEQUALIFIER qualifier{};
        EXPECT_EQ(CO_E_NOTINITIALIZED, CoGetApartmentType(&type, &qualifier)) << "somebody else is a member";
    }
    ~ApartmentTests() override { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }

    // On a thread that joins an apartment and never leaves it but by its end.
    static void OnMember(const std::function<void()>& work, DWORD kind = COINIT_MULTITHREADED)
    {
        std::thread{[&] {
            CoInitializeEx(nullptr, kind);
            work();
        }}.join();
    }

    // One object of each kind.
    void Take()
    {
        m_locator = Locate(m_machine);
        m_services = Connected(m_machine, L"root\\wmi");
        EXPECT_EQ(S_OK, m_services->GetObject(Bstr{L"zvqBEvnt"}.Get(), 0, nullptr, m_class.Receive(), nullptr));
        EXPECT_EQ(S_OK, Query(*m_services.Get(), L"SELECT * FROM zvqBIntM", SemiSynchronous, m_enumerator));
    }

    void ExpectEach(HRESULT status)
    {
        ComPtr<IWbemServices> services;
        EXPECT_EQ(status, m_locator->ConnectServer(Bstr{L"root\\wmi"}.Get(), nullptr, nullptr, nullptr, 0, nullptr,
                                                   nullptr, services.Receive()));
        ComPtr<IWbemClassObject> object;
        EXPECT_EQ(status, m_services->GetObject(Bstr{L"zvqBIntM"}.Get(), 0, nullptr, object.Receive(), nullptr));
        Variant name;
        EXPECT_EQ(status, m_class->Get(L"__CLASS", 0, name.Address(), nullptr, nullptr));
        ComPtr<IWbemClassObject> next;
        EXPECT_EQ(status, Next(*m_enumerator.Get(), next));
    }

    Watchdog m_watchdog{"ApartmentTests"};
    Machine m_machine = LoadMachine("notebook.json");
    ComPtr<IWbemLocator> m_locator;
    ComPtr<IWbemServices> m_services;
    ComPtr<IWbemClassObject> m_class;
    ComPtr<IEnumWbemClassObject> m_enumerator;
};

} // namespace

TEST_F(ApartmentTests, WithoutOneNothingIsCreated)
{
    ComPtr<IWbemLocator> locator;
    EXPECT_EQ(CO_E_NOTINITIALIZED, m_machine.CreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                                            IID_IWbemLocator, locator.ReceiveVoid()));
    EXPECT_FALSE(locator);
}

TEST_F(ApartmentTests, AThreadThatHasJoinedNoneUsesTheMultithreadedOneOfOthers)
{
    OnMember([&] { std::thread{[&] { Take(); }}.join(); });
    ExpectEach(CO_E_OBJNOTCONNECTED);
}

TEST_F(ApartmentTests, ObjectsAnswerWhileAMemberIsLeft)
{
    OnMember([&] {
        OnMember([&] { Take(); });
        ExpectEach(S_OK);
    });
}

TEST_F(ApartmentTests, ObjectsAreNotConnectedOnceTheLastThreadHasLeft)
{
    OnMember([&] {
        Take();
        CoUninitialize();
        ExpectEach(CO_E_OBJNOTCONNECTED);
    });
}

TEST_F(ApartmentTests, AThreadThatEndsHasLeft)
{
    OnMember([&] { Take(); });
    ExpectEach(CO_E_OBJNOTCONNECTED);
}

TEST_F(ApartmentTests, AHoldKeepsItAfterTheLastThread)
{
    CO_MTA_USAGE_COOKIE hold{};
    OnMember([&] {
        Take();
        ASSERT_EQ(S_OK, CoIncrementMTAUsage(&hold));
    });
    ExpectEach(S_OK);
    CoDecrementMTAUsage(hold);
    ExpectEach(CO_E_OBJNOTCONNECTED);
}

TEST_F(ApartmentTests, WhoJoinsLaterIsInAnotherOne)
{
    OnMember([&] { Take(); });
    OnMember([&] {
        ExpectEach(CO_E_OBJNOTCONNECTED);
        EXPECT_TRUE(Connected(m_machine, L"root\\wmi"));
    });
}

TEST_F(ApartmentTests, ASingleThreadedOneEndsWithItsThread)
{
    OnMember([&] {
        OnMember(
            [&] {
                Take();
                ExpectEach(S_OK);
            },
            COINIT_APARTMENTTHREADED);
        ExpectEach(CO_E_OBJNOTCONNECTED);
    });
}

TEST_F(ApartmentTests, CallsThatComeTooLateAreCountedAndRecorded)
{
    OnMember([&] { Take(); });
    m_machine.RecordCalls(true);
    ExpectEach(CO_E_OBJNOTCONNECTED);
    const auto calls = m_machine.Calls();
    ASSERT_EQ(4U, calls.size());
    EXPECT_EQ(Site::ServicesGetObject, calls[1].site);
    EXPECT_EQ(CO_E_OBJNOTCONNECTED, calls[1].status);
}

TEST_F(ApartmentTests, ASubscriptionEndsWithIt)
{
    Sink sink;
    ComPtr<IWbemObjectSink> stub;
    OnMember([&] {
        Take();
        ComPtr<IUnsecuredApartment> apartment;
        ASSERT_EQ(S_OK, m_machine.CreateInstance(CLSID_UnsecuredApartment, nullptr, CLSCTX_LOCAL_SERVER,
                                                 IID_IUnsecuredApartment, apartment.ReceiveVoid()));
        ComPtr<IUnknown> made;
        ASSERT_EQ(S_OK, apartment->CreateObjectStub(&sink, made.Receive()));
        ASSERT_EQ(S_OK, made->QueryInterface(IID_IWbemObjectSink, stub.ReceiveVoid()));
        ASSERT_EQ(S_OK, m_services->ExecNotificationQueryAsync(
                            Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM zvqBEvnt"}.Get(), 0, nullptr, stub.Get()));
        EXPECT_EQ(1U, m_machine.FireEvent(20, 1));
    });
    EXPECT_EQ(0U, m_machine.FireEvent(20, 2));
    EXPECT_EQ(0U, m_machine.Subscriptions());
    EXPECT_FALSE(m_machine.WaitForSubscriptions(1, std::chrono::milliseconds{1}));
    EXPECT_EQ(CO_E_OBJNOTCONNECTED, m_services->CancelAsyncCall(stub.Get()));
    EXPECT_EQ(CO_E_OBJNOTCONNECTED, stub->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr));
    EXPECT_EQ(1U, sink.Events().size());
    EXPECT_TRUE(sink.Statuses().empty());
    stub.Reset();
    EXPECT_EQ(0, sink.References());
}

} // namespace Zv::Testing
