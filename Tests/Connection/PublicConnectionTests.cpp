// The connection to a namespace of the caller's choice, seen through function 16.

#include "Tests/Support/ModuleTest.h"

#include <objbase.h>

namespace
{

using namespace Zv::Testing;

constexpr HRESULT NoSuchNamespace = static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE);

class PublicConnection : public ModuleTest
{
protected:
    PublicConnection() { wmi->script[L"root\\cimv2"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Int(1)}})}}; }

    Reply Get(const wchar_t* nameSpace = L"root\\\\cimv2")
    {
        const std::wstring request =
            LR"({"property":"P","wmiClass":"C","filter":"","wmiNamespace":")" + std::wstring{nameSpace} + LR"("})";
        return Run(16, request.c_str());
    }
    // The calls that belong to the connection.
    [[nodiscard]] std::vector<std::wstring> Connecting() const
    {
        return transcript.Of({L"Co", L"IWbemLocator", L"IWbemServices", L"Warning"});
    }
    static LogLine Failed(const wchar_t* call, HRESULT hr)
    {
        return CallFailed(PublicWmiClass, "ConnectToWmi", call, hr);
    }
};

constexpr wchar_t Join[] = L"CoInitializeEx(null, 0) = 0x00000000";
constexpr wchar_t Security[] = L"CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null) = 0x00000000";
constexpr wchar_t Locator[] = L"CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator, ptr) = 0x00000000";
constexpr wchar_t LocatorGone[] = L"IWbemLocator::Release() = 0";
constexpr wchar_t ServicesGone[] = L"IWbemServices::Release() = 0";
constexpr wchar_t Leave[] = L"CoUninitialize()";

TEST_F(PublicConnection, IsMadeInThisOrderAndGivenBack)
{
    EXPECT_EQ(Get().code, 0);

    EXPECT_EQ(
        Connecting(),
        (std::vector<std::wstring>{
            Join, Security, Locator,
            LR"(IWbemLocator::ConnectServer("root\cimv2", null, null, null, 0, null, null) = 0x00000000)", LocatorGone,
            L"CoSetProxyBlanket(ptr, 0xa, 0, null, 3, 3, null, 0) = 0x00000000",
            LR"(IWbemServices::ExecQuery("WQL", "SELECT * FROM C", 48, null) = 0x00000000)", ServicesGone, Leave}));
}

TEST_F(PublicConnection, IsMadeAnewForEachCommand)
{
    Get();
    Get();

    EXPECT_EQ(plan.Calls("IWbemLocator::ConnectServer"), 2);
    EXPECT_EQ(plan.Calls("CoInitializeSecurity"), 2);
}

TEST_F(PublicConnection, GoesOnWhenComCannotBeJoined)
{
    Fail("CoInitializeEx", Fault::Every(E_OUTOFMEMORY));
    ExpectComJoinsLeft(-1); // by contract left all the same

    EXPECT_EQ(Get().code, 0);

    EXPECT_EQ(Log(), std::vector{CallFailed(PublicWmiClass, "GetPropertyValue", L"CoInitializeEx", E_OUTOFMEMORY)});
    EXPECT_EQ(plan.Calls("CoUninitialize"), 1);
}

TEST_F(PublicConnection, TakesAThreadThatIsJoinedAlready)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);

    EXPECT_EQ(Get().code, 0);

    EXPECT_EQ(transcript.Of({L"CoInitializeEx"}), std::vector<std::wstring>{L"CoInitializeEx(null, 0) = 0x00000001"});
    EXPECT_TRUE(Log().empty());
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE) << "the host's join is still there";
    CoUninitialize();
    CoUninitialize();
}

TEST_F(PublicConnection, IsTriedOnAThreadInASingleThreadedApartmentAndTheImbalanceKept)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    ExpectComJoinsLeft(-1);

    EXPECT_EQ(Get().code, 0);

    EXPECT_EQ(Log(),
              std::vector{CallFailed(PublicWmiClass, "GetPropertyValue", L"CoInitializeEx", RPC_E_CHANGED_MODE)});
    EXPECT_EQ(plan.Calls("CoUninitialize"), 1) << "on every path, the one where the join failed included";
}

TEST_F(PublicConnection, SaysNothingWhenTheHostHasSetSecurityBefore)
{
    Fail("CoInitializeSecurity", Fault::Every(RPC_E_TOO_LATE));

    EXPECT_EQ(Get().code, 0);

    EXPECT_TRUE(Log().empty());
}

TEST_F(PublicConnection, GoesOnWhenSecurityCannotBeSet)
{
    Fail("CoInitializeSecurity", Fault::Every(E_ACCESSDENIED));

    EXPECT_EQ(Get().code, 0);

    EXPECT_EQ(Log(), std::vector{Failed(L"CoInitializeSecurity", E_ACCESSDENIED)});
}

TEST_F(PublicConnection, FailsWithoutALocator)
{
    Fail("CoCreateInstance", Fault::Every(REGDB_E_CLASSNOTREG));

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(L"CoCreateInstance", REGDB_E_CLASSNOTREG)});
    EXPECT_EQ(transcript.Calls().back(), Leave);
}

TEST_F(PublicConnection, NamesANamespaceThatDoesNotExist)
{
    const Reply reply = Get(L"root\\\\none");

    EXPECT_EQ(reply.code, 0x20000012);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(L"IWbemLocator->ConnectServer(WmiNamespace)", NoSuchNamespace)});
    EXPECT_EQ(Log().front().text, L"class Zv::Tessel::Server::Shared::WMI::PublicWmi.ConnectToWmi - failed on function "
                                  L"IWbemLocator->ConnectServer(WmiNamespace) with HRESULT 0x8004100e");
}

TEST_F(PublicConnection, FailsInGeneralOnAnyOtherStatusOfTheConnection)
{
    for (const HRESULT hr :
         {E_ACCESSDENIED, static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE), static_cast<HRESULT>(WBEM_E_INVALID_CLASS)})
    {
        plan.Clear();
        transcript.Clear();
        Fail("IWbemLocator::ConnectServer", Fault::Every(hr));

        EXPECT_EQ(Get().code, 0x20000002);
        EXPECT_EQ(Log(), std::vector{Failed(L"IWbemLocator->ConnectServer(WmiNamespace)", hr)});
    }
}

TEST_F(PublicConnection, ReleasesTheLocatorRightAfterAFailedConnection)
{
    Get(L"none");

    EXPECT_EQ(Connecting(), (std::vector<std::wstring>{
                                Join, Security, Locator,
                                LR"(IWbemLocator::ConnectServer("none", null, null, null, 0, null, null) = 0x8004100e)",
                                LocatorGone, Describe(Log().front()), Leave}));
}

TEST_F(PublicConnection, FailsWithoutABlanketAndReleasesTheServices)
{
    Fail("CoSetProxyBlanket", Fault::Every(E_NOINTERFACE));

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(Log(), std::vector{Failed(L"CoSetProxyBlanket", E_NOINTERFACE)});
    EXPECT_EQ(transcript.Of({L"IWbemServices", L"CoUninitialize"}), (std::vector<std::wstring>{ServicesGone, Leave}));
}

TEST_F(PublicConnection, FailsWithoutMemoryForATextOfIts)
{
    Get();
    const int texts = plan.Calls("SysAllocString");
    ASSERT_EQ(texts, 3) << "namespace, language, query";
    for (int text = 1; text <= texts; ++text)
    {
        plan.Clear();
        transcript.Clear();
        Fail("SysAllocString", Fault::Nth(text, 0));

        const Reply reply = Get();

        EXPECT_EQ(reply.code, 0x20000002) << "text " << text;
        EXPECT_EQ(reply.text, L"{}") << "text " << text;
        EXPECT_EQ(transcript.Calls().back(), Leave) << "text " << text;
    }
}

} // namespace
