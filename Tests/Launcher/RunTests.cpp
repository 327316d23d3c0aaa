// Run: from an execution alias and a package family to a process of the console user.
#include "Tests/Launcher/LauncherTest.h"

#include "Tests/Support/Text.h"

#include <new>

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Family[] = L"Zv.App_abc";
constexpr wchar_t FullName[] = L"Zv.App_1.0_x64";
constexpr wchar_t Attempting[] = L"Info Attempting to impersonate logged in user.";
constexpr wchar_t Impersonating[] = L"Warning Problem while impersonating logged in user.";
constexpr wchar_t NoConsole[] =
    L"Warning Problem while detecting active console session ID. This could be caused if the business logic ran while "
    L"the user was not logged in.";

class RunTests : public LauncherTest
{
protected:
    RunTests() { session->families[Family] = {{FullName, 0, L"C:\\Program Files\\App"}}; }

    [[nodiscard]] std::string Process() const
    {
        const std::vector<std::wstring> lines = transcript.Of({L"CreateProcessAsUserW"});
        return lines.size() == 1 ? Narrow(lines[0]) : std::to_string(lines.size()) + " processes";
    }
};

} // namespace

TEST_F(RunTests, AnAliasIsStartedInThePackagesFolderAsTheConsoleUser)
{
    EXPECT_TRUE(launcher->Run(L"App.exe", Family, L"21#0"));
    EXPECT_EQ(
        Story(),
        Lines({// the two tokens
               L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
               L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 2, invalid)", L"CloseHandle(user token)",
               L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
               L"DuplicateTokenEx(user token 2, 0x2000000, {24, null, 0}, 2, 1, invalid)", L"CloseHandle(user token 2)",
               // the alias
               L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
               L"DuplicateTokenEx(user token 3, 0x2000000, {24, null, 0}, 2, 2, invalid)", L"CloseHandle(user token 3)",
               L"ImpersonateLoggedOnUser(impersonation token 2)", Impersonating,
               L"ExpandEnvironmentStringsForUserW(impersonation token 2, "
               L"\"%userprofile%\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe\", 520)",
               L"RevertToSelf()", L"CloseHandle(impersonation token 2)",
               // its second expansion
               L"ImpersonateLoggedOnUser(impersonation token)", Impersonating,
               L"ExpandEnvironmentStringsForUserW(impersonation token, "
               L"\"C:\\Users\\ann\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe\", 520)",
               L"RevertToSelf()",
               // the package
               L"ImpersonateLoggedOnUser(impersonation token)",
               L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 0, null, 0, null, null)",
               L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 1, ptr, 15, ptr, ptr)",
               L"Info Found package's full name for Zv.App_abc: Zv.App_1.0_x64",
               L"GetPackagePathByFullName(\"Zv.App_1.0_x64\", 0, null)",
               L"GetPackagePathByFullName(\"Zv.App_1.0_x64\", 21, ptr)", L"RevertToSelf()",
               // the process
               Attempting, L"CreateEnvironmentBlock(primary token, 0)",
               L"CreateProcessAsUserW(primary token, "
               L"\"C:\\Users\\ann\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe\", \" 21#0\", null, null, 0, "
               L"0x80430, environment, \"C:\\Program Files\\App\", {112, zeros, null})",
               L"CloseHandle(thread)", L"CloseHandle(process)", L"DestroyEnvironmentBlock(environment)",
               L"CloseHandle(primary token)", L"CloseHandle(impersonation token)"}));
}

TEST_F(RunTests, WithoutArgumentsTheCommandLineIsTheAliasPath)
{
    EXPECT_TRUE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(Process(), "CreateProcessAsUserW(primary token, "
                         "\"C:\\Users\\ann\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe\", "
                         "\"C:\\Users\\ann\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe\", null, null, 0, "
                         "0x80430, environment, \"C:\\Program Files\\App\", {112, zeros, null})");
}

TEST_F(RunTests, AnEmptyAliasOrFamilyIsRefusedWithoutAPlatformCall)
{
    EXPECT_FALSE(launcher->Run(L"", Family, L"x"));
    EXPECT_FALSE(launcher->Run(L"App.exe", L"", L"x"));
    EXPECT_EQ(Story(), "");
}

TEST_F(RunTests, WithTheInvalidHandleNothingIsLookedUp)
{
    session->Fail("DuplicateTokenEx");

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(session->Calls("WTSGetActiveConsoleSessionId"), 2) << "both tokens are asked for first";
    EXPECT_EQ(session->Calls("ImpersonateLoggedOnUser"), 0);
    EXPECT_EQ(session->Calls("FindPackagesByPackageFamily"), 0);
}

TEST_F(RunTests, WithAnEmptyHolderTheLookUpsAreTried)
{
    session->FailAll("WTSGetActiveConsoleSessionId");

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(
        Story(),
        Lines({L"WTSGetActiveConsoleSessionId()", Attempting, NoConsole, L"WTSGetActiveConsoleSessionId()", Attempting,
               NoConsole, L"WTSGetActiveConsoleSessionId()", Attempting, NoConsole, L"ImpersonateLoggedOnUser(null)",
               L"ImpersonateLoggedOnUser(null)", L"ImpersonateLoggedOnUser(null)"}));
}

TEST_F(RunTests, WithoutAPrimaryTokenNothingIsStarted)
{
    session->Fail("DuplicateTokenEx", 2);

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(session->Calls("FindPackagesByPackageFamily"), 2);
    EXPECT_EQ(Process(), "0 processes");
}

TEST_F(RunTests, AnEmptyPrimaryTokenDoesNotStartTheProgramAsTheService)
{
    session->Fail("WTSQueryUserToken", 2);

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(Process(), "0 processes");
}

TEST_F(RunTests, APackageThatIsNotInstalledStartsNothing)
{
    session->families.clear();

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(session->Calls("GetPackagePathByFullName"), 0);
    EXPECT_EQ(Process(), "0 processes");
    EXPECT_EQ(session->Calls("RevertToSelf"), 3);
}

TEST_F(RunTests, APackageWithoutAFolderStartsNothing)
{
    session->FailAll("GetPackagePathByFullName");

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(Process(), "0 processes");
}

TEST_F(RunTests, AnAliasThatDoesNotExpandStartsNothing)
{
    session->FailAll("ExpandEnvironmentStringsForUserW");

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(session->Calls("FindPackagesByPackageFamily"), 2) << "the package is looked up all the same";
    EXPECT_EQ(Process(), "0 processes");
}

TEST_F(RunTests, AFailedImpersonationForThePackageIsSilentAndStartsNothing)
{
    session->Fail("ImpersonateLoggedOnUser", 3);

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_EQ(session->Calls("FindPackagesByPackageFamily"), 0);
    EXPECT_EQ(session->Calls("RevertToSelf"), 2);
    EXPECT_EQ(Log(), Lines({Attempting, Attempting, Attempting, Impersonating, Impersonating}));
}

TEST_F(RunTests, AFailedReversionIsLoggedAndTheLaunchGoesOn)
{
    session->Fail("RevertToSelf", 3);

    EXPECT_TRUE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_NE(Log().find("Error Problem while reverting the impersonation.\n"), std::string::npos);
}

TEST_F(RunTests, AProcessThatIsNotCreatedIsAFailedRun)
{
    session->Fail("CreateProcessAsUserW");

    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_NE(Log().find("Warning Problem while creating process as user 5.\n"), std::string::npos);
}

TEST_F(RunTests, TheProcessIsCreatedWithoutImpersonation)
{
    session->onCall = [this](const std::string& function) {
        if (function == "CreateEnvironmentBlock" || function == "CreateProcessAsUserW")
        {
            EXPECT_EQ(ledgers.impersonations, 0) << function;
        }
        else if (function == "FindPackagesByPackageFamily" || function == "GetPackagePathByFullName")
        {
            EXPECT_EQ(ledgers.impersonations, 1) << function;
        }
    };
    EXPECT_TRUE(launcher->Run(L"App.exe", Family, L""));
}

TEST_F(RunTests, AllocationsThatFailWhileImpersonatingRevertIt)
{
    session->onCall = [this](const std::string& function) {
        if (function == "GetPackagePathByFullName")
        {
            plan.Clear();
            plan.Fail("malloc", Fault::Nth(1, 0));
        }
    };
    EXPECT_THROW(static_cast<void>(launcher->Run(L"App.exe", Family, L"")), std::bad_alloc);
    EXPECT_EQ(session->Calls("RevertToSelf"), 3);
    EXPECT_EQ(ledgers.impersonations, 0);
}

TEST_F(RunTests, NothingIsHeldWhicheverPlatformCallFails)
{
    RunWithEachPlatformCallFailing([this] { static_cast<void>(launcher->Run(L"App.exe", Family, L"21#0")); });
}

TEST_F(RunTests, NothingIsHeldWhicheverAllocationFails)
{
    RunWithEachAllocationFailing([this] { static_cast<void>(launcher->Run(L"App.exe", Family, L"21#0")); });
}

} // namespace Zv::Testing
