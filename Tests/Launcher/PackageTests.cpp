// Full names and install folders.
#include "Tests/Launcher/LauncherTest.h"

#include "Tests/Support/Text.h"

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Family[] = L"Zv.App_abc";
constexpr wchar_t NotReverted[] = L"Error Problem while reverting the impersonation.";

class PackageTests : public LauncherTest
{
protected:
    PackageTests()
    {
        session->families[Family] = {{L"Zv.App_1.0_resources", 2, L"C:\\r"},
                                     {L"Zv.App_1.0_x64", 0, L"C:\\Program Files\\WindowsApps\\Zv.App"},
                                     {L"Zv.App_2.0_x64", 0, L"C:\\second"}};
    }
};

} // namespace

TEST_F(PackageTests, TheFullNameIsThatOfTheFirstPackageWithoutProperties)
{
    EXPECT_EQ(Narrow(launcher->GetPackageFullNameByFamilyName(Family)), "Zv.App_1.0_x64");
    EXPECT_EQ(Story(), Lines({L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 0, null, 0, null, null)",
                              L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 3, ptr, 51, ptr, ptr)",
                              L"Info Found package's full name for Zv.App_abc: Zv.App_1.0_x64"}));
}

TEST_F(PackageTests, TheLineOfTheFullNameKeepsItsFormat)
{
    static_cast<void>(launcher->GetPackageFullNameByFamilyName(Family));
    ASSERT_EQ(transcript.Log().size(), 1U);
    EXPECT_EQ(Narrow(transcript.Log()[0].format), "Found package's full name for %ls: %ls");
    EXPECT_EQ(transcript.Log()[0].overload, Overload::Text);
}

TEST_F(PackageTests, AFamilyWithoutPackagesHasNoFullName)
{
    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(L"none"), L"");
    EXPECT_EQ(Story(), Lines({L"FindPackagesByPackageFamily(\"none\", 0xf0, 0, null, 0, null, null)",
                              L"Warning Problem while finding out the size of the buffer. Returned length is 0."}));
}

TEST_F(PackageTests, OnlyPackagesWithPropertiesGiveNoFullNameAndNoLine)
{
    session->families[Family] = {{L"a", 1}, {L"b", 2}, {L"c", 0x10000}};

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(Log(), "");
}

TEST_F(PackageTests, AFailedSizeQueryCountsByItsLengthOnly)
{
    session->Fail("FindPackagesByPackageFamily");

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(session->Calls("FindPackagesByPackageFamily"), 1);
    EXPECT_EQ(Log(), Lines({L"Warning Problem while finding out the size of the buffer. Returned length is 0."}));
}

TEST_F(PackageTests, AFailedSecondQueryIsLogged)
{
    session->Fail("FindPackagesByPackageFamily", 2);

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(Log(), Lines({L"Warning Problem while finding package's resources."}));
}

TEST_F(PackageTests, APackageThatIsAddedBetweenTheQueriesIsAFailedSecondQuery)
{
    session->onCall = [this](const std::string&) {
        if (session->Calls("FindPackagesByPackageFamily") == 1)
        {
            session->families[Family].push_back({L"Zv.App_3.0_x64"});
        }
    };

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(Log(), Lines({L"Warning Problem while finding package's resources."}));
}

TEST_F(PackageTests, APackageThatIsRemovedBetweenTheQueriesIsNotRead)
{
    session->onCall = [this](const std::string&) {
        if (session->Calls("FindPackagesByPackageFamily") == 1)
        {
            session->families[Family].resize(1);
        }
    };

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(Log(), "");
}

TEST_F(PackageTests, WithoutMemoryForTheNamesTheFullNameIsEmpty)
{
    // Its own allocations: the copy of the argument aside, the names come first.
    const std::wstring shortFamily = L"F"; // lies inside the string object
    session->families[shortFamily] = {{L"Zv.App_1.0_x64", 0}};
    plan.Clear();
    plan.Fail("malloc", Fault::Nth(1, 0));

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(shortFamily), L"");
    EXPECT_EQ(Story(), Lines({L"FindPackagesByPackageFamily(\"F\", 0xf0, 0, null, 0, null, null)",
                              L"Warning Problem while allocating buffer."}));
}

TEST_F(PackageTests, AnEmptyFamilyNameIsAnsweredWithoutAPlatformCall)
{
    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(L""), L"");
    EXPECT_EQ(Story(), "");
}

TEST_F(PackageTests, FullNamesAreLookedUpOneAtATime)
{
    struct Other
    {
        const Launcher* launcher;
        static DWORD WINAPI LookUp(void* self)
        {
            static_cast<void>(static_cast<Other*>(self)->launcher->GetPackageFullNameByFamilyName(Family));
            return 0;
        }
    };
    Other other{&*launcher};
    HANDLE thread = nullptr;
    session->onCall = [&](const std::string&) {
        if (thread == nullptr)
        {
            thread = CreateThread(nullptr, 0, &Other::LookUp, &other, 0, nullptr);
            EXPECT_EQ(WaitForSingleObject(thread, 50), static_cast<DWORD>(WAIT_TIMEOUT)) << "waits for this look-up";
        }
    };

    EXPECT_NE(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(WaitForSingleObject(thread, 10'000), WAIT_OBJECT_0);
    CloseHandle(thread);
    EXPECT_EQ(session->Calls("FindPackagesByPackageFamily"), 4);
}

TEST_F(PackageTests, AFullNameIsLookedUpAsTheTokensUser)
{
    EXPECT_EQ(Narrow(launcher->GetPackageFullNameByFamilyName(Family, session->Token(L"token"))), "Zv.App_1.0_x64");
    EXPECT_EQ(Story(), Lines({L"ImpersonateLoggedOnUser(token)",
                              L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 0, null, 0, null, null)",
                              L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 3, ptr, 51, ptr, ptr)",
                              L"Info Found package's full name for Zv.App_abc: Zv.App_1.0_x64", L"RevertToSelf()"}));
}

TEST_F(PackageTests, WithoutImpersonationNothingIsLookedUpNorLogged)
{
    session->FailAll("ImpersonateLoggedOnUser");

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family, session->Token(L"token")), L"");
    EXPECT_EQ(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64", session->Token(L"token")), L"");
    EXPECT_EQ(Story(), Lines({L"ImpersonateLoggedOnUser(token)", L"ImpersonateLoggedOnUser(token 2)"}));
}

TEST_F(PackageTests, AFailedReversionIsLoggedAndTheAnswerStands)
{
    session->FailAll("RevertToSelf");

    EXPECT_NE(launcher->GetPackageFullNameByFamilyName(Family, session->Token(L"token")), L"");
    EXPECT_NE(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64", session->Token(L"token")), L"");
    EXPECT_EQ(Log(),
              Lines({L"Info Found package's full name for Zv.App_abc: Zv.App_1.0_x64", NotReverted, NotReverted}));
}

TEST_F(PackageTests, TheInstallFolderIsAskedForWithItsSize)
{
    EXPECT_EQ(Narrow(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64")),
              "C:\\Program Files\\WindowsApps\\Zv.App");
    EXPECT_EQ(Story(), Lines({L"GetPackagePathByFullName(\"Zv.App_1.0_x64\", 0, null)",
                              L"GetPackagePathByFullName(\"Zv.App_1.0_x64\", 36, ptr)"}));
}

TEST_F(PackageTests, APackageThatIsNotThereHasNoInstallFolder)
{
    EXPECT_EQ(launcher->GetPackageInstalledPathByFullName(L"none"), L"");
    EXPECT_EQ(Story(), Lines({L"GetPackagePathByFullName(\"none\", 0, null)",
                              L"Warning Problem while finding out the size of the buffer."}));
}

TEST_F(PackageTests, AFailedSecondQueryOfTheInstallFolderIsLogged)
{
    session->Fail("GetPackagePathByFullName", 2);

    EXPECT_EQ(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64"), L"");
    EXPECT_EQ(Log(), Lines({L"Warning Problem while finding the full path for the package."}));
}

TEST_F(PackageTests, AnEmptyFullNameIsAnsweredWithoutAPlatformCall)
{
    EXPECT_EQ(launcher->GetPackageInstalledPathByFullName(L""), L"");
    EXPECT_EQ(Story(), "");
}

TEST_F(PackageTests, AnInstallFolderIsLookedUpAsTheTokensUser)
{
    EXPECT_NE(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64", session->Token(L"token")), L"");
    EXPECT_EQ(Story(),
              Lines({L"ImpersonateLoggedOnUser(token)", L"GetPackagePathByFullName(\"Zv.App_1.0_x64\", 0, null)",
                     L"GetPackagePathByFullName(\"Zv.App_1.0_x64\", 36, ptr)", L"RevertToSelf()"}));
}

TEST_F(PackageTests, NothingIsHeldWhicheverPlatformCallFails)
{
    RunWithEachPlatformCallFailing([this, token = session->Token(L"token")] {
        static_cast<void>(launcher->GetPackageFullNameByFamilyName(Family, token));
        static_cast<void>(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64", token));
    });
}

TEST_F(PackageTests, NothingIsHeldWhicheverAllocationFails)
{
    RunWithEachAllocationFailing([this, token = session->Token(L"token")] {
        static_cast<void>(launcher->GetPackageFullNameByFamilyName(Family, token));
        static_cast<void>(launcher->GetPackageInstalledPathByFullName(L"Zv.App_1.0_x64", token));
    });
}

} // namespace Zv::Testing
