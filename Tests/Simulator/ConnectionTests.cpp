#include "Tests/Simulator/Client.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/State/References.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{

using Simulator::Machine;
using Simulator::ObjectKind;
using Simulator::Status;

TEST(ConnectionTests, AllSpellingsOfANamespaceNameOneNamespace)
{
    Machine machine = LoadMachine("notebook.json");
    for (const wchar_t* path : {L"\\\\.\\root\\wmi", L"\\\\.\\ROOT\\WMI", L"root\\wmi", L"ROOT\\WMI", L"root/wmi",
                                L"//./root/wmi", L"Root\\Wmi", L"\\\\NOTEBOOK\\root\\wmi", L"\\\\localhost\\root\\wmi",
                                L"root", L"ROOT\\ZV\\InstrumentedBIOS"})
    {
        ComPtr<IWbemServices> services;
        EXPECT_EQ(S_OK, Connect(machine, path, services)) << path;
    }
    EXPECT_EQ("nothing", machine.Outstanding().Describe());
}

TEST(ConnectionTests, OtherNamespacesDoNotExist)
{
    Machine machine = LoadMachine("notebook.json");
    for (const wchar_t* path : {L"", L"\\\\.", L"\\\\.\\", L"\\root\\wmi", L"root\\\\wmi", L"root\\wmi\\", L"root/wmi/",
                                L"wmi", L"root\\none", L"root wmi", L"\\\\", L"\\\\.\\\\root\\wmi"})
    {
        ComPtr<IWbemServices> services;
        EXPECT_EQ(Status(WBEM_E_INVALID_NAMESPACE), Connect(machine, path, services)) << path;
        EXPECT_FALSE(services) << path;
    }
}

TEST(ConnectionTests, AnotherMachineIsNotReached)
{
    Machine machine = LoadMachine("notebook.json");
    ComPtr<IWbemServices> services;
    EXPECT_EQ(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), Connect(machine, L"\\\\other\\root\\wmi", services));
}

TEST(ConnectionTests, ALocalConnectionTakesNoCredentials)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemLocator> locator = Locate(machine);
    ComPtr<IWbemServices> services;
    EXPECT_EQ(Status(WBEM_E_LOCAL_CREDENTIALS),
              locator->ConnectServer(Bstr{L"root\\wmi"}.Get(), Bstr{L"Robin"}.Get(), Bstr{L"secret"}.Get(), nullptr, 0,
                                     nullptr, nullptr, services.Receive()));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER),
              locator->ConnectServer(nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr, services.Receive()));
    EXPECT_EQ(Status(WBEM_E_INVALID_PARAMETER), locator->ConnectServer(Bstr{L"root\\wmi"}.Get(), nullptr, nullptr,
                                                                       nullptr, 0, nullptr, nullptr, nullptr));
}

TEST(ConnectionTests, OnlyTheLocatorAndTheUnsecuredApartmentAreSimulated)
{
    const ComMember com;
    Machine machine = LoadMachine("notebook.json");
    ComPtr<IUnknown> object;
    const auto create = [&](REFCLSID classId, DWORD context, REFIID iid) {
        object.Reset();
        return machine.CreateInstance(classId, nullptr, context, iid, object.ReceiveVoid());
    };
    EXPECT_EQ(S_OK, create(CLSID_WbemLocator, CLSCTX_INPROC_SERVER, IID_IWbemLocator));
    EXPECT_EQ(S_OK, create(CLSID_UnsecuredApartment, CLSCTX_LOCAL_SERVER, IID_IUnsecuredApartment));
    EXPECT_EQ(S_OK, create(CLSID_WbemLocator, CLSCTX_ALL, IID_IUnknown));
    EXPECT_EQ(REGDB_E_CLASSNOTREG, create(CLSID_WbemLocator, CLSCTX_LOCAL_SERVER, IID_IWbemLocator));
    EXPECT_EQ(REGDB_E_CLASSNOTREG, create(CLSID_UnsecuredApartment, CLSCTX_INPROC_SERVER, IID_IUnsecuredApartment));
    EXPECT_EQ(S_OK, create(CLSID_WbemContext, CLSCTX_INPROC_SERVER, IID_IUnknown)) << "the system's own";
    EXPECT_EQ(REGDB_E_CLASSNOTREG, create(GUID{1, 2, 3, {}}, CLSCTX_INPROC_SERVER, IID_IUnknown));
    EXPECT_EQ(E_NOINTERFACE, create(CLSID_WbemLocator, CLSCTX_INPROC_SERVER, IID_IWbemServices));
    EXPECT_EQ(E_POINTER,
              machine.CreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, nullptr));
    object.Reset();
    EXPECT_EQ(0U, machine.Outstanding().Total());
}

TEST(ConnectionTests, TheProxyBlanketIsSetThroughAnInterfaceWithACountOfItsOwn)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    {
        ComPtr<IClientSecurity> security;
        ASSERT_EQ(S_OK, services->QueryInterface(IID_IClientSecurity, security.ReceiveVoid()));
        EXPECT_NE(static_cast<void*>(services.Get()), static_cast<void*>(security.Get()));
        EXPECT_EQ(1U, machine.Outstanding().Of(ObjectKind::ClientSecurity));
        EXPECT_EQ(2U, machine.Outstanding().Of(ObjectKind::Services)) << "it keeps its proxy alive";
        ComPtr<IUnknown> identity;
        ASSERT_EQ(S_OK, security->QueryInterface(IID_IUnknown, identity.ReceiveVoid()));
        EXPECT_EQ(static_cast<void*>(services.Get()), static_cast<void*>(identity.Get()));
    }
    EXPECT_EQ(0U, machine.Outstanding().Of(ObjectKind::ClientSecurity));

    machine.RecordCalls(true);
    EXPECT_EQ(S_OK, CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                      RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
    const auto calls = machine.Calls();
    ASSERT_EQ(2U, calls.size());
    EXPECT_EQ(Simulator::Site::ServicesQueryInterface, calls[0].site);
    EXPECT_EQ(Simulator::Site::SecuritySetBlanket, calls[1].site);
    EXPECT_EQ(L"10, 0, null, 3, 3, null, 0", calls[1].detail);
    EXPECT_EQ(1U, machine.Outstanding().Total());
}

// Setting the Security on IWbemServices and Other Proxies (learn.microsoft.com, WMI): each proxy has a blanket of its
// own, and where nobody sets it, that of the process.
TEST(ConnectionTests, AnEnumeratorGoesByTheSecurityOfTheProcess)
{
    for (const auto& [level, allowed] :
         {std::pair{"anonymous", false}, {"identify", false}, {"impersonate", true}, {"delegate", true}})
    {
        SCOPED_TRACE(level);
        Machine machine = Machine::Parse(
            std::string{R"({"version": 1, "name": "m", "security": {"impersonation": ")"} + level +
            R"("}, "namespaces": [{"path": "root\\a", "classes": [{"name": "C", "properties": {"A": "string"},)"
            R"( "instances": [{"A": "x"}]}]}]})");
        const ComPtr<IWbemServices> services = Connected(machine, L"root\\a");
        ComPtr<IEnumWbemClassObject> enumerator;
        ASSERT_EQ(S_OK, Query(*services.Get(), L"SELECT * FROM C", SemiSynchronous, enumerator))
            << "it comes all the same";
        ComPtr<IWbemClassObject> object;
        EXPECT_EQ(allowed ? S_OK : Status(WBEM_E_ACCESS_DENIED), Next(*enumerator.Get(), object));
        EXPECT_EQ(allowed ? Status(WBEM_S_FALSE) : Status(WBEM_E_ACCESS_DENIED), enumerator->Skip(-1, 1));

        enumerator.Reset();
        object.Reset();
        ASSERT_EQ(S_OK, Query(*services.Get(), L"SELECT * FROM C", SemiSynchronous, enumerator));
        EXPECT_EQ(S_OK, CoSetProxyBlanket(enumerator.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                          RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
        EXPECT_EQ(S_OK, Next(*enumerator.Get(), object)) << "with a blanket of its own";
    }
}

TEST(ConnectionTests, WhatIsHeldIsReportedByKind)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemLocator> locator = Locate(machine);
    ComPtr<IWbemServices> services = Connected(machine, L"root\\cimv2");
    ComPtr<IEnumWbemClassObject> enumerator;
    ASSERT_EQ(S_OK, Query(*services.Get(), L"SELECT * FROM Win32_Process", SemiSynchronous, enumerator));
    ComPtr<IWbemClassObject> object;
    ASSERT_EQ(S_OK, Next(*enumerator.Get(), object));
    EXPECT_EQ("1 IWbemLocator, 1 IWbemServices, 1 IWbemClassObject, 1 IEnumWbemClassObject",
              machine.Outstanding().Describe());
    services.Reset();
    enumerator.Reset();
    EXPECT_EQ("1 IWbemLocator, 1 IWbemClassObject", machine.Outstanding().Describe());
}

TEST(ConnectionTests, ObjectsOutliveTheirMachine)
{
    ComPtr<IWbemServices> services;
    {
        Machine machine = LoadMachine("notebook.json");
        services = Connected(machine, L"root\\cimv2");
    }
    EXPECT_EQ((std::vector<std::wstring>{L"VT_BSTR \"7C21\""}),
              Column(*services.Get(), L"SELECT Product FROM Win32_BaseBoard", L"Product"));
}

} // namespace Zv::Testing
