// Origin and version of packages.
#include "Tests/Launcher/LauncherTest.h"

#include "Tests/Support/Text.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Family[] = L"Zv.App_abc";
constexpr wchar_t FullName[] = L"Zv.App_1.2.3.4_x64";
constexpr std::uint64_t Version = 0x0001'0002'0003'0004;
constexpr wchar_t OriginLine[] = L"Info Origin: 3. Version: 1 2 3 4";

class OriginTests : public LauncherTest
{
protected:
    OriginTests() { session->families[Family] = {{FullName, 0, L"C:\\app", PackageOrigin_Store, Version}}; }

    // The text of the error that the call raises; empty when it raises none.
    [[nodiscard]] std::string ErrorByFullName(const wchar_t* fullName = FullName)
    {
        try
        {
            static_cast<void>(launcher->GetOriginAndVersionByFullName(fullName));
        }
        catch (const std::runtime_error& error)
        {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&error) % alignof(std::max_align_t), 0u);
            return error.what();
        }
        return {};
    }
};

} // namespace

TEST_F(OriginTests, OriginAndVersionComeFromThreeQueries)
{
    const Launcher::OriginAndVersion found = launcher->GetOriginAndVersionByFullName(FullName);

    EXPECT_EQ(found.first, 3);
    EXPECT_EQ(found.second, Version);
    EXPECT_EQ(Story(),
              Lines({L"GetStagedPackageOrigin(\"Zv.App_1.2.3.4_x64\")",
                     L"OpenPackageInfoByFullName(\"Zv.App_1.2.3.4_x64\", 0)", L"GetPackageInfo(info, 0xb0, 0, null, 0)",
                     L"GetPackageInfo(info, 0xb0, 96, ptr, 1)", L"ClosePackageInfo(info)", OriginLine}));
}

TEST_F(OriginTests, EachPartOfAVersionHas16Bits)
{
    session->families[Family][0].version = 0xFFFF'FFFE'8000'0000;

    EXPECT_EQ(launcher->GetOriginAndVersionByFullName(FullName).second, 0xFFFF'FFFE'8000'0000U);
    EXPECT_EQ(Log(), Lines({L"Info Origin: 3. Version: 65535 65534 32768 0"}));
    EXPECT_EQ(Narrow(transcript.Log().at(0).format), "Origin: %d. Version: %d %d %d %d");
}

TEST_F(OriginTests, APackageThatIsNotStagedRaisesAnError)
{
    session->families[Family][0].origin.reset();

    EXPECT_EQ(ErrorByFullName(), "Problem while retrieving the origin of the package.");
    EXPECT_EQ(Story(), Lines({L"GetStagedPackageOrigin(\"Zv.App_1.2.3.4_x64\")"}));
}

TEST_F(OriginTests, APackageThatDoesNotOpenRaisesAnError)
{
    session->Fail("OpenPackageInfoByFullName");

    EXPECT_EQ(ErrorByFullName(), "Problem while opening the package info.");
    EXPECT_EQ(Log(), "");
    EXPECT_EQ(session->Calls("ClosePackageInfo"), 0);
}

TEST_F(OriginTests, ASizeQueryThatSucceedsWithoutEntriesRaisesAnError)
{
    session->successfulInfoQuery = true;
    session->infoCount = 0;

    EXPECT_EQ(ErrorByFullName(), "Problem while getting the count for the package info.");
    EXPECT_EQ(session->Calls("GetPackageInfo"), 1);
    EXPECT_EQ(session->Calls("ClosePackageInfo"), 1);
}

TEST_F(OriginTests, ASizeQueryThatSucceedsWithEntriesRaisesAnError)
{
    session->successfulInfoQuery = true;

    EXPECT_EQ(ErrorByFullName(), "Problem while getting the count for the package info. Insufficient buffer.");
    EXPECT_EQ(session->Calls("GetPackageInfo"), 1);
    EXPECT_EQ(session->Calls("ClosePackageInfo"), 1);
}

TEST_F(OriginTests, ASizeQueryThatFailsOtherwiseRaisesAnError)
{
    session->Fail("GetPackageInfo");

    EXPECT_EQ(ErrorByFullName(), "Problem while getting the count for the package info. Insufficient buffer.");
    EXPECT_EQ(session->Calls("ClosePackageInfo"), 1);
}

TEST_F(OriginTests, AFailedSecondQueryRaisesAnError)
{
    session->Fail("GetPackageInfo", 2);

    EXPECT_EQ(ErrorByFullName(), "Problem while getting the package info.");
    EXPECT_EQ(session->Calls("ClosePackageInfo"), 1);
    EXPECT_EQ(Log(), "");
}

TEST_F(OriginTests, AnAnswerWithoutAnEntryReadsAsVersion0)
{
    calls->Replace<"GetPackageInfo", LONG(PACKAGE_INFO_REFERENCE, UINT32, UINT32*, BYTE*, UINT32*)>(
        [](PACKAGE_INFO_REFERENCE, UINT32, UINT32* length, BYTE* buffer, UINT32* count) -> LONG {
            *length = 0;
            *count = 0;
            return buffer == nullptr ? ERROR_INSUFFICIENT_BUFFER : ERROR_SUCCESS;
        });

    EXPECT_EQ(launcher->GetOriginAndVersionByFullName(FullName).second, 0U);
}

TEST_F(OriginTests, ByFamilyNameBothLooksHappenAsTheUser)
{
    const Launcher::OriginAndVersion found = launcher->GetOriginAndVersionByFamilyName(Family);

    EXPECT_EQ(found.first, 3);
    EXPECT_EQ(found.second, Version);
    EXPECT_EQ(Story(),
              Lines({L"WTSGetActiveConsoleSessionId()", L"Info Attempting to impersonate logged in user.",
                     L"WTSQueryUserToken(3, invalid)",
                     L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 2, invalid)",
                     L"CloseHandle(user token)", L"ImpersonateLoggedOnUser(impersonation token)",
                     L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 0, null, 0, null, null)",
                     L"FindPackagesByPackageFamily(\"Zv.App_abc\", 0xf0, 1, ptr, 19, ptr, ptr)",
                     L"Info Found package's full name for Zv.App_abc: Zv.App_1.2.3.4_x64", L"RevertToSelf()",
                     L"ImpersonateLoggedOnUser(impersonation token)", L"GetStagedPackageOrigin(\"Zv.App_1.2.3.4_x64\")",
                     L"OpenPackageInfoByFullName(\"Zv.App_1.2.3.4_x64\", 0)", L"GetPackageInfo(info, 0xb0, 0, null, 0)",
                     L"GetPackageInfo(info, 0xb0, 96, ptr, 1)", L"ClosePackageInfo(info)", OriginLine,
                     L"RevertToSelf()", L"CloseHandle(impersonation token)"}));
}

TEST_F(OriginTests, ByFamilyNameTheErrorLeavesAfterTheReversion)
{
    session->Fail("OpenPackageInfoByFullName");

    EXPECT_THROW(static_cast<void>(launcher->GetOriginAndVersionByFamilyName(Family)), std::runtime_error);
    const std::vector<std::wstring> all = transcript.All();
    ASSERT_GE(all.size(), 2U);
    EXPECT_EQ(Narrow(all[all.size() - 2]), "RevertToSelf()");
    EXPECT_EQ(ledgers.impersonations, 0);
}

TEST_F(OriginTests, ByFamilyNameAFailedReversionIsLogged)
{
    session->Fail("RevertToSelf", 2);

    EXPECT_EQ(launcher->GetOriginAndVersionByFamilyName(Family).second, Version);
    EXPECT_EQ(Narrow(Describe(transcript.Log().back())), "Error Problem while reverting the impersonation.");
}

TEST_F(OriginTests, ByFamilyNameAPackageThatIsNotInstalledRaisesAnError)
{
    EXPECT_THROW(static_cast<void>(launcher->GetOriginAndVersionByFamilyName(L"none")), std::runtime_error);
    EXPECT_EQ(session->Calls("RevertToSelf"), 2);
}

TEST_F(OriginTests, ByFamilyNameNobodyAtTheConsoleRaisesAnError)
{
    session->FailAll("WTSGetActiveConsoleSessionId");

    EXPECT_THROW(static_cast<void>(launcher->GetOriginAndVersionByFamilyName(Family)), std::runtime_error);
    EXPECT_EQ(session->Calls("GetStagedPackageOrigin"), 0) << "not asked as the service";
}

TEST_F(OriginTests, NothingIsHeldWhicheverPlatformCallFails)
{
    RunWithEachPlatformCallFailing([this] { static_cast<void>(launcher->GetOriginAndVersionByFamilyName(Family)); });
}

TEST_F(OriginTests, NothingIsHeldWhicheverAllocationFails)
{
    RunWithEachAllocationFailing([this] {
        try
        {
            static_cast<void>(launcher->GetOriginAndVersionByFamilyName(Family));
        }
        catch (const std::runtime_error&)
        {
            // no token, no memory for the names
        }
    });
}

} // namespace Zv::Testing
