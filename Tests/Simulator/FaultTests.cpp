// Faults of a description and of a test, calls on record, and the accounting of BSTRs and SAFEARRAYs.
#include "Tests/Simulator/Client.h"
#include "Tests/Support/Watchdog.h"

#include "Simulator/AutomationWatch.h"
#include "Simulator/Cim/StatusNames.h"
#include "Simulator/State/Worker.h"

#include <gtest/gtest.h>

#include <atomic>

namespace Zv::Testing
{

using Simulator::Fault;
using Simulator::Machine;
using Simulator::Site;
using Simulator::Status;

namespace
{

Fault FaultAt(Site site)
{
    Fault fault;
    fault.site = site;
    fault.status = Status(WBEM_E_FAILED);
    return fault;
}

HRESULT ConnectTo(Machine& machine)
{
    ComPtr<IWbemServices> services;
    return Connect(machine, L"root/wmi", services);
}

} // namespace

TEST(FaultTests, AFaultStrikesTheCallItIsMeantFor)
{
    Machine machine = LoadMachine("notebook.json");
    Fault fault = FaultAt(Site::LocatorConnectServer);
    fault.first = 2;
    machine.AddFault(fault);
    EXPECT_EQ(S_OK, ConnectTo(machine));
    EXPECT_EQ(Status(WBEM_E_FAILED), ConnectTo(machine));
    EXPECT_EQ(S_OK, ConnectTo(machine));
    EXPECT_EQ(3U, machine.CallCount(Site::LocatorConnectServer));
    EXPECT_EQ("nothing", machine.Outstanding().Describe());
}

TEST(FaultTests, AFaultMayStrikeFromACallOnUntilItIsCleared)
{
    Machine machine = LoadMachine("notebook.json");
    Fault fault = FaultAt(Site::LocatorConnectServer);
    fault.first = 2;
    fault.count = 0;
    machine.AddFault(fault);
    EXPECT_EQ(S_OK, ConnectTo(machine));
    EXPECT_EQ(Status(WBEM_E_FAILED), ConnectTo(machine));
    EXPECT_EQ(Status(WBEM_E_FAILED), ConnectTo(machine));
    machine.ClearFaults();
    EXPECT_EQ(S_OK, ConnectTo(machine));
}

TEST(FaultTests, AFaultMayBeAboutOneThingOnly)
{
    Machine machine = LoadMachine("notebook.json");
    Fault fault = FaultAt(Site::ServicesGetObject);
    fault.about = L"ZVQBDATAIN";
    machine.AddFault(fault);
    const ComPtr<IWbemServices> services = Connected(machine, L"root/wmi");
    ComPtr<IWbemClassObject> object;
    EXPECT_EQ(S_OK, services->GetObject(Bstr{L"zvqBIntM"}.Get(), 0, nullptr, object.Receive(), nullptr));
    object.Reset();
    EXPECT_EQ(Status(WBEM_E_FAILED),
              services->GetObject(Bstr{L"zvqBDataIn"}.Get(), 0, nullptr, object.Receive(), nullptr));
}

TEST(FaultTests, ADescriptionBringsFaultsOfItsOwn)
{
    Machine machine = LoadMachine("misbehaving.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root/cimv2");
    EXPECT_EQ((std::vector<std::wstring>{L"WBEM_E_TRANSPORT_FAILURE"}),
              Column(*services.Get(), L"SELECT * FROM Zv_Broken", L"Name"));
    ComPtr<IWbemClassObject> object;
    ASSERT_EQ(S_OK, services->GetObject(Bstr{L"Zv_Broken.Name=\"a\""}.Get(), 0, nullptr, object.Receive(), nullptr));
    EXPECT_EQ(L"WBEM_E_FAILED", Show(*object.Get(), L"Bad"));
    EXPECT_EQ(L"VT_BSTR \"a\"", Show(*object.Get(), L"Name"));
}

TEST(FaultTests, ADelayLongerThanTheTimeOutOfNextIsATimeOut)
{
    const Watchdog watchdog{"ADelayLongerThanTheTimeOutOfNextIsATimeOut"};
    Machine machine = LoadMachine("misbehaving.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root/cimv2");
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, Query(*services.Get(), L"SELECT * FROM Zv_Slow", SemiSynchronous, enumerator));
    ComPtr<IWbemClassObject> object;
    ULONG returned = 7;
    EXPECT_EQ(Status(WBEM_S_TIMEDOUT), enumerator->Next(1, 1, object.Receive(), &returned));
    EXPECT_EQ(0U, returned);
    EXPECT_FALSE(object);
    EXPECT_EQ(S_OK, enumerator->Next(1, 1, object.Receive(), &returned)) << "only the first call was slow";
}

TEST(FaultTests, AHangingCallReturnsWhenItIsLetGo)
{
    const Watchdog watchdog{"AHangingCallReturnsWhenItIsLetGo"};
    Machine machine = LoadMachine("notebook.json");
    Fault fault = FaultAt(Site::LocatorConnectServer);
    fault.hang = true;
    machine.AddFault(fault);
    std::atomic<HRESULT> result = S_OK;
    const Simulator::Worker worker{[&] { result = ConnectTo(machine); }};
    EXPECT_FALSE(worker.WaitFor(20));
    machine.ReleaseHangs();
    EXPECT_TRUE(worker.WaitFor(20000));
    EXPECT_EQ(Status(WBEM_E_FAILED), result);
}

TEST(FaultTests, CallsAreRecordedInTheirOrderWithTheirArguments)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root/wmi");
    machine.RecordCalls(true);
    ComPtr<IWbemClassObject> definition;
    ASSERT_EQ(S_OK, services->GetObject(Bstr{L"zvqBDataIn"}.Get(), 0, nullptr, definition.Receive(), nullptr));
    ComPtr<IWbemClassObject> block;
    ASSERT_EQ(S_OK, definition->SpawnInstance(0, block.Receive()));
    Variant none;
    V_VT(none.Address()) = VT_ARRAY | VT_UI1;
    V_ARRAY(none.Address()) = nullptr;
    EXPECT_EQ(S_OK, block->Put(L"zvqBData", 0, none.Address(), 0));
    V_VT(none.Address()) = VT_EMPTY;
    EXPECT_EQ(Status(WBEM_E_NOT_FOUND), block->Get(L"None", 0, none.Address(), nullptr, nullptr));
    const auto calls = machine.Calls();
    ASSERT_EQ(4U, calls.size());
    EXPECT_EQ(Site::ServicesGetObject, calls[0].site);
    EXPECT_EQ(L"zvqBDataIn", calls[0].about);
    EXPECT_EQ(Site::ObjectSpawnInstance, calls[1].site);
    EXPECT_EQ(L"zvqBData", calls[2].about);
    EXPECT_EQ(L"8209 (null), 0", calls[2].detail) << "VARIANT type and CIM type";
    EXPECT_EQ(Status(WBEM_E_NOT_FOUND), calls[3].status);
    EXPECT_EQ(GetCurrentThreadId(), calls[3].thread);
    machine.RecordCalls(false);
    EXPECT_EQ(S_OK, ConnectTo(machine));
    EXPECT_TRUE(machine.Calls().empty());
}

TEST(FaultTests, StringsAndArraysThatTheModuleKeepsAreCounted)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root/cimv2");
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, Query(*services.Get(), L"SELECT * FROM Win32_BIOS", SemiSynchronous, enumerator));
    ComPtr<IWbemClassObject> object;
    ASSERT_EQ(S_OK, Next(*enumerator.Get(), object));

    const Simulator::AutomationWatch watch{machine, GetModuleHandleW(nullptr)}; // this program is the client here
    VARIANT text;
    VARIANT texts;
    BSTR mof = nullptr;
    ASSERT_EQ(S_OK, object->Get(L"Name", 0, &text, nullptr, nullptr));
    ASSERT_EQ(S_OK, object->Get(L"BIOSVersion", 0, &texts, nullptr, nullptr));
    ASSERT_EQ(S_OK, object->GetObjectText(0, &mof));
    EXPECT_EQ(2U, machine.Outstanding().strings);
    EXPECT_EQ(1U, machine.Outstanding().arrays);
    EXPECT_NE(S_OK, VariantChangeType(&text, &text, 0, VT_UNKNOWN));
    EXPECT_EQ(2U, machine.Outstanding().strings) << "a conversion that fails frees nothing";
    VariantClear(&text);
    VariantClear(&texts);
    SysFreeString(mof);
    EXPECT_EQ(0U, machine.Outstanding().strings + machine.Outstanding().arrays);
    EXPECT_THROW((Simulator::AutomationWatch{machine, GetModuleHandleW(nullptr)}), std::logic_error);
}

} // namespace Zv::Testing
