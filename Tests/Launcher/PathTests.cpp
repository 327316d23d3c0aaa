// Paths expanded as the user, aliases, and what counts as a real user's session.
#include "Tests/Launcher/LauncherTest.h"

#include "Tests/Support/Text.h"

#include <algorithm>
#include <new>

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Impersonating[] = L"Warning Problem while impersonating logged in user.";
constexpr wchar_t NotReverted[] = L"Error Problem while reverting the impersonation.";

class PathTests : public LauncherTest
{
protected:
    [[nodiscard]] bool IsReal(const std::wstring& profile)
    {
        session->variables = {{L"%userprofile%", profile}};
        std::wstring found;
        const bool real = launcher->IsRealUserSession(found);
        EXPECT_EQ(Narrow(found), Narrow(profile));
        return real;
    }
};

} // namespace

TEST_F(PathTests, APathIsExpandedWhileImpersonatingTheUser)
{
    const std::wstring path =
        launcher->GetPathExpandedImpersonatedAsCurrentUser(L"%userprofile%\\x", session->Token(L"token"));

    EXPECT_EQ(Narrow(path), "C:\\Users\\ann\\x");
    EXPECT_EQ(Story(),
              Lines({L"ImpersonateLoggedOnUser(token)", Impersonating,
                     L"ExpandEnvironmentStringsForUserW(token, \"%userprofile%\\x\", 520)", L"RevertToSelf()"}));
}

TEST_F(PathTests, AFailedImpersonationGivesAnEmptyPathWithoutAMessage)
{
    session->Fail("ImpersonateLoggedOnUser");

    EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(L"x", session->Token(L"token")), L"");
    EXPECT_EQ(Story(), Lines({L"ImpersonateLoggedOnUser(token)"}));
}

TEST_F(PathTests, AnEmptyHolderIsTriedAsItIs)
{
    EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(L"x", nullptr), L"");
    EXPECT_EQ(Story(), Lines({L"ImpersonateLoggedOnUser(null)"}));
}

TEST_F(PathTests, AFailedExpansionIsLoggedAndTheImpersonationReverted)
{
    session->Fail("ExpandEnvironmentStringsForUserW");

    EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(L"x", session->Token(L"token")), L"");
    EXPECT_EQ(Story(), Lines({L"ImpersonateLoggedOnUser(token)", Impersonating,
                              L"ExpandEnvironmentStringsForUserW(token, \"x\", 520)",
                              L"Warning Problem while expanding path.", L"RevertToSelf()"}));
}

TEST_F(PathTests, AFailedReversionIsLoggedAndThePathStands)
{
    session->Fail("RevertToSelf");

    EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(L"x", session->Token(L"token")), L"x");
    EXPECT_EQ(Story(), Lines({L"ImpersonateLoggedOnUser(token)", Impersonating,
                              L"ExpandEnvironmentStringsForUserW(token, \"x\", 520)", L"RevertToSelf()", NotReverted}));
}

TEST_F(PathTests, APathLongerThanTheBufferOf260CharactersOverrunsNothing)
{
    for (const std::size_t length : {259U, 260U, 261U, 519U})
    {
        const std::wstring longPath(length, L'p');
        EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(longPath, session->Token(L"token")), longPath);
    }
}

TEST_F(PathTests, APathLongerThanTheSizeOf520IsAFailedExpansion)
{
    EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(std::wstring(520, L'p'), session->Token(L"token")),
              L"");
    EXPECT_EQ(Log(), Lines({Impersonating, L"Warning Problem while expanding path."}));
}

TEST_F(PathTests, TextWithoutATerminatorEndsWithTheBuffer)
{
    calls->Replace<"ExpandEnvironmentStringsForUserW", BOOL(HANDLE, const wchar_t*, wchar_t*, DWORD)>(
        [](HANDLE, const wchar_t*, wchar_t* buffer, DWORD size) -> BOOL {
            std::fill_n(buffer, size, L'p');
            return TRUE;
        });

    EXPECT_EQ(launcher->GetPathExpandedImpersonatedAsCurrentUser(L"x", session->Token(L"token")),
              std::wstring(520, L'p'));
}

TEST_F(PathTests, AnImpersonationDoesNotOutliveTheCallWhenMemoryRunsOut)
{
    const std::wstring longPath(300, L'p');
    const std::shared_ptr<void> token = session->Token(L"token");
    RunWithEachAllocationFailing(
        [&] { static_cast<void>(launcher->GetPathExpandedImpersonatedAsCurrentUser(longPath, token)); });

    plan.Clear();
    transcript.Clear();
    plan.Fail("malloc", Fault::Nth(1, 0)); // the text of the result
    EXPECT_THROW(static_cast<void>(launcher->GetPathExpandedImpersonatedAsCurrentUser(longPath, token)),
                 std::bad_alloc);
    plan.Clear();
    EXPECT_EQ(Narrow(transcript.Calls().back()), "RevertToSelf()");
}

TEST_F(PathTests, AnAliasLiesInTheUsersFolderOfAliases)
{
    EXPECT_EQ(Narrow(launcher->GetAbsolutePathForUWPAlias(L"App.exe")),
              "C:\\Users\\ann\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe");
    EXPECT_EQ(Story(),
              Lines({L"WTSGetActiveConsoleSessionId()", L"Info Attempting to impersonate logged in user.",
                     L"WTSQueryUserToken(3, invalid)",
                     L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 2, invalid)",
                     L"CloseHandle(user token)", L"ImpersonateLoggedOnUser(impersonation token)", Impersonating,
                     L"ExpandEnvironmentStringsForUserW(impersonation token, "
                     L"\"%userprofile%\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe\", 520)",
                     L"RevertToSelf()", L"CloseHandle(impersonation token)"}));
}

TEST_F(PathTests, AnEmptyAliasIsAnsweredWithoutAPlatformCall)
{
    EXPECT_EQ(launcher->GetAbsolutePathForUWPAlias(L""), L"");
    EXPECT_EQ(Story(), "");
}

TEST_F(PathTests, AnAliasIsNotLookedUpWithTheInvalidHandle)
{
    session->Fail("DuplicateTokenEx");

    EXPECT_EQ(launcher->GetAbsolutePathForUWPAlias(L"App.exe"), L"");
    EXPECT_EQ(session->Calls("ImpersonateLoggedOnUser"), 0);
}

TEST_F(PathTests, AnAliasIsLookedUpWithAnEmptyHolder)
{
    session->Fail("WTSQueryUserToken");

    EXPECT_EQ(launcher->GetAbsolutePathForUWPAlias(L"App.exe"), L"");
    EXPECT_EQ(session->Calls("ImpersonateLoggedOnUser"), 1);
}

TEST_F(PathTests, AnOrdinaryProfileIsARealUsers)
{
    EXPECT_TRUE(IsReal(L"C:\\Users\\ann"));
}

TEST_F(PathTests, TheSessionIsJudgedByTheExpandedProfileFolder)
{
    std::wstring profile = L"from before";
    EXPECT_TRUE(launcher->IsRealUserSession(profile));
    EXPECT_EQ(Narrow(profile), "C:\\Users\\ann");
    EXPECT_EQ(Story(),
              Lines({L"WTSGetActiveConsoleSessionId()", L"Info Attempting to impersonate logged in user.",
                     L"WTSQueryUserToken(3, invalid)",
                     L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 2, invalid)",
                     L"CloseHandle(user token)", L"ImpersonateLoggedOnUser(impersonation token)", Impersonating,
                     L"ExpandEnvironmentStringsForUserW(impersonation token, \"%userprofile%\", 520)",
                     L"RevertToSelf()", L"CloseHandle(impersonation token)"}));
}

TEST_F(PathTests, WithNobodyAtTheConsoleThereIsNoRealSession)
{
    session->Fail("WTSGetActiveConsoleSessionId");

    std::wstring profile = L"from before";
    EXPECT_FALSE(launcher->IsRealUserSession(profile));
    EXPECT_EQ(profile, L"");
}

TEST_F(PathTests, SystemAndDefaultProfilesAreNotRealUsers)
{
    EXPECT_FALSE(IsReal(L"C:\\Windows\\system32\\config\\systemprofile"));
    EXPECT_FALSE(IsReal(L"C:\\Users\\Default\\x"));
    EXPECT_FALSE(IsReal(L"C:\\Users\\\\defaultuser0"));
    EXPECT_FALSE(IsReal(L"C:\\Users\\\\defaultuser0.PC"));
}

TEST_F(PathTests, ThePatternsAreExactAndTellCases)
{
    EXPECT_TRUE(IsReal(L"C:\\Windows\\System32\\config"));
    EXPECT_TRUE(IsReal(L"C:\\Windows\\system32"));
    EXPECT_TRUE(IsReal(L"C:\\Users\\Default"));
    EXPECT_TRUE(IsReal(L"C:\\Users\\default\\x"));
    EXPECT_TRUE(IsReal(L"C:\\Users\\DefaultApp\\x"));
    EXPECT_TRUE(IsReal(L"C:\\Users\\defaultuser0"));
    EXPECT_TRUE(IsReal(L"C:\\Users\\\\Defaultuser0"));
}

TEST_F(PathTests, NothingIsHeldWhicheverPlatformCallFails)
{
    RunWithEachPlatformCallFailing([this] {
        std::wstring profile;
        static_cast<void>(launcher->IsRealUserSession(profile));
        static_cast<void>(launcher->GetAbsolutePathForUWPAlias(L"App.exe"));
    });
}

TEST_F(PathTests, NothingIsHeldWhicheverAllocationFails)
{
    RunWithEachAllocationFailing([this] {
        std::wstring profile;
        static_cast<void>(launcher->IsRealUserSession(profile));
        static_cast<void>(launcher->GetAbsolutePathForUWPAlias(L"App.exe"));
    });
}

} // namespace Zv::Testing
