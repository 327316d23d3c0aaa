// GetUserTokenForCurrentUser, construction, and what a token holder does.
#include "Tests/Launcher/LauncherTest.h"

#include "Logging/Logging.h"
#include "Tests/FakeLogging/FakeLogging.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/ThisBuild.h"

#include <wtsapi32.h>

#include <type_traits>

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Attempting[] = L"Info Attempting to impersonate logged in user.";

class TokenTests : public LauncherTest
{
};

} // namespace

TEST_F(TokenTests, AnImpersonationTokenIsADuplicateOfTheConsoleUsersToken)
{
    const std::shared_ptr<void> token = launcher->GetUserTokenForCurrentUser(TokenImpersonation);

    EXPECT_NE(token, nullptr);
    EXPECT_NE(token.get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(Story(), Lines({L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
                              L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 2, invalid)",
                              L"CloseHandle(user token)"}));
}

TEST_F(TokenTests, APrimaryTokenIsAskedForAsSuch)
{
    const std::shared_ptr<void> token = launcher->GetUserTokenForCurrentUser(TokenPrimary);

    EXPECT_NE(token, nullptr);
    EXPECT_EQ(Story(), Lines({L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
                              L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 1, invalid)",
                              L"CloseHandle(user token)"}));
}

TEST_F(TokenTests, TheLastHolderClosesTheToken)
{
    std::shared_ptr<void> token = launcher->GetUserTokenForCurrentUser(TokenPrimary);
    std::shared_ptr<void> other = token;
    static_cast<void>(Story());

    token.reset();
    EXPECT_EQ(Story(), "");
    other.reset();
    EXPECT_EQ(Story(), Lines({L"CloseHandle(primary token)"}));
}

TEST_F(TokenTests, NobodyAtTheConsoleGivesAnEmptyHolder)
{
    session->Fail("WTSGetActiveConsoleSessionId");

    EXPECT_EQ(launcher->GetUserTokenForCurrentUser(TokenImpersonation), nullptr);
    EXPECT_EQ(Story(), Lines({L"WTSGetActiveConsoleSessionId()", Attempting,
                              L"Warning Problem while detecting active console session ID. This could be caused if the "
                              L"business logic ran while the user was not logged in."}));
}

TEST_F(TokenTests, AUserTokenThatIsNotObtainedGivesAnEmptyHolder)
{
    session->Fail("WTSQueryUserToken");

    EXPECT_EQ(launcher->GetUserTokenForCurrentUser(TokenImpersonation), nullptr);
    EXPECT_EQ(Story(), Lines({L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
                              L"Warning Problem while querying user's access token."}));
}

TEST_F(TokenTests, AUserTokenCountsWhateverTheCallReports)
{
    calls->Replace<"WTSQueryUserToken", decltype(WTSQueryUserToken)>([this](ULONG, HANDLE* token) -> BOOL {
        *token = session->Token(L"user token").get();
        return FALSE;
    });

    EXPECT_NE(launcher->GetUserTokenForCurrentUser(TokenImpersonation), nullptr);
}

TEST_F(TokenTests, ANullUserTokenIsTriedAndNotClosed)
{
    calls->Replace<"WTSQueryUserToken", decltype(WTSQueryUserToken)>([](ULONG, HANDLE* token) -> BOOL {
        *token = nullptr;
        return FALSE;
    });
    session->Fail("DuplicateTokenEx");

    EXPECT_EQ(launcher->GetUserTokenForCurrentUser(TokenImpersonation).get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(session->Calls("DuplicateTokenEx"), 1);
    EXPECT_EQ(session->Calls("CloseHandle"), 1) << "of the holder only";
}

TEST_F(TokenTests, ATokenThatIsNotDuplicatedGivesAHolderOfTheInvalidHandle)
{
    session->Fail("DuplicateTokenEx");

    std::shared_ptr<void> token = launcher->GetUserTokenForCurrentUser(TokenImpersonation);

    EXPECT_EQ(token.get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(Story(),
              Lines({L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
                     L"DuplicateTokenEx(user token, 0x2000000, {24, null, 0}, 2, 2, invalid)",
                     L"Warning Problem while duplicating the user's access token.", L"CloseHandle(user token)"}));
    token.reset();
    EXPECT_EQ(Story(), Lines({L"CloseHandle(invalid)"}));
}

TEST_F(TokenTests, ADuplicateCountsWhateverTheCallReports)
{
    calls->Replace<"DuplicateTokenEx", decltype(DuplicateTokenEx)>([this](HANDLE, DWORD, SECURITY_ATTRIBUTES*,
                                                                          SECURITY_IMPERSONATION_LEVEL, TOKEN_TYPE,
                                                                          HANDLE* duplicate) -> BOOL {
        *duplicate = session->Token(L"duplicate").get();
        return FALSE;
    });

    std::shared_ptr<void> token = launcher->GetUserTokenForCurrentUser(TokenImpersonation);

    EXPECT_NE(token, nullptr);
    static_cast<void>(Story());
    token.reset();
    EXPECT_EQ(Story(), Lines({L"CloseHandle(duplicate)"}));
}

TEST_F(TokenTests, ANullDuplicateIsHandedOutAndNotClosed)
{
    calls->Replace<"DuplicateTokenEx", decltype(DuplicateTokenEx)>(
        [](HANDLE, DWORD, SECURITY_ATTRIBUTES*, SECURITY_IMPERSONATION_LEVEL, TOKEN_TYPE, HANDLE* duplicate) -> BOOL {
            *duplicate = nullptr;
            return FALSE;
        });

    std::shared_ptr<void> token = launcher->GetUserTokenForCurrentUser(TokenImpersonation);

    EXPECT_EQ(token.get(), nullptr);
    EXPECT_EQ(Log(), Lines({Attempting}));
    static_cast<void>(Story());
    token.reset();
    EXPECT_EQ(Story(), "");
}

TEST_F(TokenTests, WithoutMemoryForTheHolderTheTokenIsClosedAndNothingEscapes)
{
    plan.Clear();
    ASSERT_NE(launcher->GetUserTokenForCurrentUser(TokenImpersonation), nullptr);
    ASSERT_EQ(plan.Calls("malloc"), 1) << "the holder's count";
    static_cast<void>(Story());

    plan.Fail("malloc", Fault::Nth(2, 0));
    EXPECT_EQ(launcher->GetUserTokenForCurrentUser(TokenImpersonation), nullptr);
    EXPECT_EQ(Story(),
              Lines({L"WTSGetActiveConsoleSessionId()", Attempting, L"WTSQueryUserToken(3, invalid)",
                     L"DuplicateTokenEx(user token 2, 0x2000000, {24, null, 0}, 2, 2, invalid)",
                     L"CloseHandle(impersonation token 2)",
                     L"Warning Problem while duplicating the user's access token.", L"CloseHandle(user token 2)"}));
}

TEST_F(TokenTests, NothingIsHeldWhicheverPlatformCallFails)
{
    RunWithEachPlatformCallFailing([this] { static_cast<void>(launcher->GetUserTokenForCurrentUser(TokenPrimary)); });
}

TEST_F(TokenTests, TheInvalidHandleIsClosedWithoutHarm)
{
    // What the platform itself says, without the fake: it is the pseudo handle of the process.
    SetLastError(0);
    EXPECT_TRUE(CloseHandle(INVALID_HANDLE_VALUE));
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_EQ(WaitForSingleObject(GetCurrentProcess(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

TEST_F(TokenTests, ACallWithoutALoggerDoesTheSame)
{
    calls->Replace<ThisBuild::GetLogger, Logging::TraceLogger*()>([]() -> Logging::TraceLogger* { return nullptr; });
    const Launcher silent;
    session->Fail("DuplicateTokenEx", 2);
    transcript.Clear();

    EXPECT_NE(silent.GetUserTokenForCurrentUser(TokenPrimary), nullptr);
    EXPECT_EQ(silent.GetUserTokenForCurrentUser(TokenPrimary).get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(Log(), "");
}

TEST_F(TokenTests, ConstructionTakesTheLoggerThatIsThere)
{
    const Launcher another;

    static_cast<void>(another.GetUserTokenForCurrentUser(TokenPrimary));
    EXPECT_NE(Log(), "");
    EXPECT_STREQ(Narrow(FakeLoggingProvider()).c_str(), "the host's");
}

TEST_F(TokenTests, ConstructionNamesTheProviderWhenNobodyHas)
{
    FakeLoggingForgetProvider();

    const Launcher another;

    EXPECT_STREQ(Narrow(FakeLoggingProvider()).c_str(), "Zv-Tessel-SystemInformation");
    static_cast<void>(another.GetUserTokenForCurrentUser(TokenPrimary));
    EXPECT_NE(Log(), "");
}

TEST_F(TokenTests, ACopyWorksAsTheOriginalDoes)
{
    static_assert(std::is_copy_constructible_v<Launcher> && std::is_copy_assignable_v<Launcher>);
    const Launcher copy{*launcher};
    Launcher assigned;
    assigned = copy;

    EXPECT_EQ(copy.GetAbsolutePathForUWPAlias(L"a.exe"), launcher->GetAbsolutePathForUWPAlias(L"a.exe"));
    EXPECT_EQ(assigned.GetAbsolutePathForUWPAlias(L"a.exe"), launcher->GetAbsolutePathForUWPAlias(L"a.exe"));
}

} // namespace Zv::Testing
