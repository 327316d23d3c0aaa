#include "Host/Watch/ProblemWatch.h"

#include "Logging/Logging.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{
namespace
{

using Logging::CreateLoggingData;

constexpr wchar_t FailedCall[] = L"%S.%S - failed on function %s with HRESULT 0x%x";

Logging::TraceLogger& Logger()
{
    Logging::LogManager::SetProvider(L"Zv-Tessel-HostTests");
    return *Logging::LogManager::GetLogger();
}

TEST(HostProblem, NamesTheFailedCallAndExplainsItsStatus)
{
    const Host::ProblemWatch watch{L"client"};
    Logger().LogWarning(CreateLoggingData(FailedCall, L"client"), "class A", "B", L"IWbemServices->ExecQuery",
                        0x80041010U);
    EXPECT_EQ(watch.Problem(), "IWbemServices->ExecQuery gave 0x80041010 (no such class)");
}

TEST(HostProblem, LeavesAStatusThatItDoesNotKnowAsItIs)
{
    EXPECT_EQ(Host::ProblemText("class A.B - failed on function F with HRESULT 0x87654321"), "F gave 0x87654321");
}

TEST(HostProblem, KeepsOtherErrorsWithoutWhoLoggedThem)
{
    const Host::ProblemWatch watch{L"client"};
    Logger().LogError(CreateLoggingData(L"%S.%S - cannot allocate memory for %s", L"client"), "class A", "B",
                      L"*outString");
    EXPECT_EQ(watch.Problem(), "cannot allocate memory for *outString");
}

TEST(HostProblem, AnErrorThatFollowsAFailedCallDoesNotHideIt)
{
    const Host::ProblemWatch watch{L"client"};
    Logger().LogWarning(CreateLoggingData(FailedCall, L"client"), "class A", "B", L"F", 0x80041010U);
    Logger().LogError(CreateLoggingData(L"%S.%S - unable to create it", L"client"), "class A", "B");
    EXPECT_EQ(watch.Problem(), "F gave 0x80041010 (no such class)");
    EXPECT_EQ(watch.Status(), 0x80041010U);
}

TEST(HostProblem, AnErrorWithoutACallHasNoStatus)
{
    Host::ProblemWatch watch{L"client"};
    Logger().LogWarning(CreateLoggingData(FailedCall, L"client"), "class A", "B", L"F", 0x80041010U);
    watch.Forget();
    Logger().LogError(CreateLoggingData(L"%S.%S - unable to create it", L"client"), "class A", "B");
    EXPECT_EQ(watch.Problem(), "unable to create it");
    EXPECT_EQ(watch.Status(), 0U);
}

TEST(HostProblem, IgnoresOtherClientsAndWarningsAboutTheRequest)
{
    const Host::ProblemWatch watch{L"client"};
    Logger().LogError(CreateLoggingData(FailedCall, L"another"), "class A", "B", L"F", 1U);
    Logger().LogError(CreateLoggingData(FailedCall, nullptr), "class A", "B", L"F", 1U);
    Logger().LogWarning(CreateLoggingData(L"%S.%S - %S missing key %s", L"client"), "class A", "B", "document",
                        L"filter");
    EXPECT_EQ(watch.Problem(), "");
}

TEST(HostProblem, KeepsTheLastAndForgetsOnDemand)
{
    Host::ProblemWatch watch{L"client"};
    Logger().LogWarning(CreateLoggingData(FailedCall, L"client"), "class A", "B", L"First", 1U);
    Logger().LogWarning(CreateLoggingData(FailedCall, L"client"), "class A", "B", L"Second", 2U);
    EXPECT_EQ(watch.Problem(), "Second gave 0x2");
    watch.Forget();
    EXPECT_EQ(watch.Problem(), "");
}

TEST(HostProblem, OfTheLauncherIsItsLastLineAndNotTheOneThatItWritesWhenAllIsWell)
{
    const Host::ProblemWatch ofLauncher;
    Logger().LogWarning(L"Problem while expanding path.");
    Logger().LogWarning(L"Problem while impersonating logged in user.");
    Logger().LogWarning(CreateLoggingData(FailedCall, L"client"), "class A", "B", L"F", 1U);
    EXPECT_EQ(ofLauncher.Problem(), "Problem while expanding path");
    EXPECT_EQ(ofLauncher.Status(), 0U);
}

} // namespace
} // namespace Zv::Testing
