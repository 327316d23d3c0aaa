// The connection to the firmware's namespace, seen through function 2.

#include "Tests/Support/ModuleTest.h"
#include "Tests/Support/ScriptedFirmware.h"

#include <objbase.h>

#include <optional>

namespace
{

using namespace Zv::Testing;

constexpr wchar_t Request[] = LR"({"command":1,"commandType":2,"inputDataSize":0,"returnDataSize":0})";

class FirmwareConnection : public ModuleTest
{
protected:
    FirmwareConnection() { firmware.emplace(wmi->script); }

    [[nodiscard]] std::vector<std::wstring> Connecting() const
    {
        return transcript.Of({L"Co", L"IWbemLocator", L"IWbemServices::Release", L"Warning"});
    }
    static LogLine Failed(const wchar_t* call, HRESULT hr) { return CallFailed(ZvBiosWmiClass, "GetReady", call, hr); }

    std::optional<ScriptedFirmware> firmware;
};

constexpr wchar_t Join[] = L"CoInitializeEx(null, 0) = 0x00000000";
constexpr wchar_t Security[] = L"CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null) = 0x00000000";
constexpr wchar_t Locator[] = L"CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator, ptr) = 0x00000000";
constexpr wchar_t Connect[] =
    LR"(IWbemLocator::ConnectServer("\\.\root\wmi", null, null, null, 0, null, null) = 0x00000000)";
constexpr wchar_t LocatorGone[] = L"IWbemLocator::Release() = 0";
constexpr wchar_t Blanket[] = L"CoSetProxyBlanket(ptr, 0xa, 0, null, 3, 3, null, 0) = 0x00000000";
constexpr wchar_t ServicesGone[] = L"IWbemServices::Release() = 0";
constexpr wchar_t Leave[] = L"CoUninitialize()";

TEST_F(FirmwareConnection, IsMadeInThisOrderAndEndsWithTheCommand)
{
    EXPECT_EQ(Run(2, Request).code, 0);

    EXPECT_EQ(Connecting(),
              (std::vector<std::wstring>{Join, Security, Locator, Connect, LocatorGone, Blanket, ServicesGone, Leave}));
    EXPECT_EQ(transcript.Calls().back(), Leave);
}

TEST_F(FirmwareConnection, LastsForOneCommandOnly)
{
    Run(2, Request);
    Run(2, Request);

    EXPECT_EQ(plan.Calls("IWbemLocator::ConnectServer"), 2);
    EXPECT_EQ(plan.Calls("CoUninitialize"), 2);
}

TEST_F(FirmwareConnection, GoesOnAndLeavesComWhenItCouldNotBeJoined)
{
    Fail("CoInitializeEx", Fault::Every(E_OUTOFMEMORY));
    ExpectComJoinsLeft(-1);

    EXPECT_EQ(Run(2, Request).code, 0);

    EXPECT_EQ(Log(), std::vector{Failed(L"CoInitializeEx", E_OUTOFMEMORY)});
    EXPECT_EQ(plan.Calls("CoUninitialize"), 1);
}

TEST_F(FirmwareConnection, IsTriedOnAThreadInASingleThreadedApartmentAndTheImbalanceKept)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    ExpectComJoinsLeft(-1); // the command has left the host's apartment

    EXPECT_EQ(Run(2, Request).code, 0);

    EXPECT_EQ(Log(), std::vector{Failed(L"CoInitializeEx", RPC_E_CHANGED_MODE)});
    EXPECT_EQ(plan.Calls("CoUninitialize"), 1);
}

TEST_F(FirmwareConnection, SaysNothingAboutAThreadThatIsJoinedAlready)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);

    EXPECT_EQ(Run(2, Request).code, 0);

    EXPECT_TRUE(Log().empty());
    CoUninitialize();
}

TEST_F(FirmwareConnection, SaysNothingWhenTheHostHasSetSecurityBefore)
{
    Fail("CoInitializeSecurity", Fault::Every(RPC_E_TOO_LATE));

    EXPECT_EQ(Run(2, Request).code, 0);

    EXPECT_TRUE(Log().empty());
}

TEST_F(FirmwareConnection, GoesOnWhenSecurityCannotBeSet)
{
    Fail("CoInitializeSecurity", Fault::Every(E_ACCESSDENIED));

    EXPECT_EQ(Run(2, Request).code, 0);

    EXPECT_EQ(Log(), std::vector{Failed(L"CoInitializeSecurity", E_ACCESSDENIED)});
}

TEST_F(FirmwareConnection, WithoutALocatorFailsAndLeavesComJoined)
{
    Fail("CoCreateInstance", Fault::Every(REGDB_E_CLASSNOTREG));
    ExpectComJoinsLeft(1);

    EXPECT_EQ(Run(2, Request).code, 0x20000002);

    EXPECT_EQ(Log(), std::vector{Failed(L"CoCreateInstance", REGDB_E_CLASSNOTREG)});
    EXPECT_EQ(plan.Calls("CoUninitialize"), 0);
}

TEST_F(FirmwareConnection, ThatIsRefusedReleasesTheLocatorReportsAndLeavesCom)
{
    Fail("IWbemLocator::ConnectServer", Fault::Every(E_ACCESSDENIED));

    EXPECT_EQ(Run(2, Request).code, 0x20000002);

    const LogLine line = Failed(L"IWbemLocator->ConnectServer(WmiNamespace)", E_ACCESSDENIED);
    EXPECT_EQ(Connecting(), (std::vector<std::wstring>{
                                Join, Security, Locator,
                                LR"(IWbemLocator::ConnectServer("\\.\root\wmi", null, null, null, 0, null, null) = )"
                                L"0x80070005",
                                LocatorGone, Describe(line), Leave}));
    EXPECT_EQ(Log(), std::vector{line});
}

TEST_F(FirmwareConnection, ToAMissingNamespaceIsAGeneralFailure)
{
    wmi->script.clear();

    EXPECT_EQ(Run(2, Request).code, 0x20000002);

    EXPECT_EQ(Log(), std::vector{Failed(L"IWbemLocator->ConnectServer(WmiNamespace)",
                                        static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE))});
}

TEST_F(FirmwareConnection, WithoutABlanketReportsReleasesTheServicesAndLeavesCom)
{
    Fail("CoSetProxyBlanket", Fault::Every(E_NOINTERFACE));

    EXPECT_EQ(Run(2, Request).code, 0x20000002);

    const LogLine line = Failed(L"CoSetProxyBlanket", E_NOINTERFACE);
    EXPECT_EQ(Log(), std::vector{line});
    EXPECT_EQ(transcript.Of({L"CoSetProxyBlanket", L"IWbemServices", L"CoUninitialize", L"Warning"}),
              (std::vector<std::wstring>{L"CoSetProxyBlanket(ptr, 0xa, 0, null, 3, 3, null, 0) = 0x80004002",
                                         Describe(line), ServicesGone, Leave}));
}

TEST_F(FirmwareConnection, IsLeftWhenTheCommandItselfFails)
{
    Fail("IWbemServices::GetObject", Fault::Every(WBEM_E_NOT_FOUND));

    EXPECT_EQ(Run(2, Request).code, 0x20000002);

    EXPECT_EQ(transcript.Of({L"IWbemServices::Release", L"CoUninitialize"}),
              (std::vector<std::wstring>{ServicesGone, Leave}));
}

TEST_F(FirmwareConnection, IsGivenUpCleanlyWhenMemoryForTheNamespaceRunsOut)
{
    Fail("SysAllocString", Fault::Nth(1, 0));

    EXPECT_EQ(Run(2, Request).code, 0x20000002);

    EXPECT_EQ(wmi->Outstanding(), 0);
    EXPECT_THAT(transcript.Of({L"CoCreateInstance", L"IWbemLocator", L"CoUninitialize"}),
                testing::ElementsAre(testing::StartsWith(L"CoCreateInstance"), LocatorGone, Leave))
        << "the namespace is named when the locator is there, which goes before COM is left";
}

} // namespace
