// What the module finds when it is loaded, and what follows from it when a token is asked for.
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/Module.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{

namespace
{

constexpr char Found[] = "call\n"
                         "Info Attempting to impersonate logged in user.\n"
                         "Warning Problem while detecting active console session ID. This could be caused if the "
                         "business logic ran while the user was not logged in.\n"
                         "no token\n";
constexpr char Refused[] =
    "Error Problem in GetUserTokenForCurrentUser. Dependencies is not available in this platform.\n"
    "no token\n";
constexpr char AskedEx[] = "ApiSetQueryApiSetPresenceEx(\"ext-ms-win-session-wtsapi32-l1-1-0\" of 68 bytes)\n";
constexpr char Asked[] = "ApiSetQueryApiSetPresence(\"ext-ms-win-session-wtsapi32-l1-1-0\" of 68 bytes)\n";

// The load on a platform of that version.
std::string Load(const char* version)
{
    return std::string{"load\nRtlGetVersion(276) = "} + version + "\n";
}
std::string LoadWithLookUps(const char* version)
{
    return Load(version) + "GetModuleHandleW(ntdll.dll)\n"
                           "GetProcAddress(ntdll, ApiSetQueryApiSetPresence)\n"
                           "GetProcAddress(ntdll, ApiSetQueryApiSetPresenceEx)\n";
}

// Found without its first line: what follows when the API set counts as present.
std::string AfterCall()
{
    return std::string{Found}.substr(5);
}

std::string Probe(const std::wstring& arguments)
{
    return RunToEnd(TestFolder() / L"StartProbe.exe", arguments);
}

} // namespace

TEST(StartTests, BeforeVersion10NothingIsLookedUpAndTheApiSetCountsAsPresent)
{
    EXPECT_EQ(Probe(L"6 both 0"), Load("6") + Found);
    EXPECT_EQ(Probe(L"9 both 0"), Load("9") + Found);
}

TEST(StartTests, FromVersion10TheExFunctionAnswersWhereBothExist)
{
    EXPECT_EQ(Probe(L"10 both 1"), LoadWithLookUps("10") + "call\n" + AskedEx + AfterCall());
    EXPECT_EQ(Probe(L"11 both 1"), LoadWithLookUps("11") + "call\n" + AskedEx + AfterCall());
}

TEST(StartTests, AnAbsentApiSetIsRefusedWithAnError)
{
    EXPECT_EQ(Probe(L"10 both 0"), LoadWithLookUps("10") + "call\n" + AskedEx + Refused);
}

TEST(StartTests, ThePlainFunctionAnswersWhereOnlyItExists)
{
    EXPECT_EQ(Probe(L"10 plain 1"), LoadWithLookUps("10") + "call\n" + Asked + AfterCall());
    EXPECT_EQ(Probe(L"10 plain 0"), LoadWithLookUps("10") + "call\n" + Asked + Refused);
}

TEST(StartTests, TheExFunctionAnswersWhereOnlyItExists)
{
    EXPECT_EQ(Probe(L"10 ex 1"), LoadWithLookUps("10") + "call\n" + AskedEx + AfterCall());
}

TEST(StartTests, WithoutPresenceFunctionsTheApiSetCountsAsAbsent)
{
    EXPECT_EQ(Probe(L"10 none"), LoadWithLookUps("10") + "call\n" + Refused);
}

TEST(StartTests, WithoutNtdllTheApiSetCountsAsAbsent)
{
    EXPECT_EQ(Probe(L"10 no-ntdll"), Load("10") + "GetModuleHandleW(ntdll.dll)\ncall\n" + Refused);
}

TEST(StartTests, AFailedQueryCountsAsAbsent)
{
    EXPECT_EQ(Probe(L"10 both 1 C000000D"), LoadWithLookUps("10") + "call\n" + AskedEx + Refused);
    EXPECT_EQ(Probe(L"10 plain 1 C000000D"), LoadWithLookUps("10") + "call\n" + Asked + Refused);
}

// Wine's answer to RtlGetVersion follows a setting per program.
TEST(StartTests, OnEachVersionThatWineCanReportTheApiSetIsThere)
{
    if (GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr)
    {
        return; // Windows has one version
    }
    const wchar_t key[] = L"Software\\Wine\\AppDefaults\\StartProbe.exe";
    const auto probe = [&key](const wchar_t* version) {
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key, L"Version", REG_SZ, version,
                                  static_cast<DWORD>((wcslen(version) + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
        return Probe(L"own own");
    };
    EXPECT_EQ(probe(L"win7"), Load("6") + Found);
    EXPECT_EQ(probe(L"win10"), LoadWithLookUps("10") + Found);
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, key), ERROR_SUCCESS);
}

} // namespace Zv::Testing
