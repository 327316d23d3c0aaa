// The simulated user session, used by the module's own launcher.
#include "Interception/ImportTable.h"
#include "Interception/ModuleExports.h"
#include "Logging/Logging.h"
#include "Services/Launcher/Launcher.h"
#include "Simulator/Machine.h"
#include "Simulator/User/UserSession.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Transcript.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace Zv::Testing
{

namespace
{

using Simulator::StartedProcess;
using Simulator::UserSession;
using Tessel::Server::Services::Launcher;

constexpr wchar_t Family[] = L"Zv.App_abc";
constexpr wchar_t FullName[] = L"Zv.App_1.2.3.4_x64";
constexpr wchar_t AliasPath[] = L"C:\\Users\\ann\\AppData\\Local\\Microsoft\\WindowsApps\\App.exe";

// Loaded once for the process: the classes that it exports stay bound to it.
HMODULE TheModule()
{
    static const Module module;
    Interception::BindModuleExports(module.Handle());
    return module.Handle();
}

Simulator::Description Machine()
{
    Simulator::Description machine;
    machine.session = {true, 5, L"ann", L"C:\\Users\\ann", {{L"ZV_COLOUR", L"blue"}}, true};
    machine.packages = {{Family,
                         {{L"Zv.App_1.2.3.4_scale", 2, L"C:\\scale", 3, 1},
                          {FullName, 0, L"C:\\Apps\\Zv.App", 3, 0x0001'0002'0003'0004}},
                         L"App.exe",
                         L""}};
    return machine;
}

// A folder that is there for the life of this object.
class Folder
{
public:
    Folder() : m_path{std::filesystem::temp_directory_path() / (L"zv launch " + std::to_wstring(GetCurrentProcessId()))}
    {
        std::filesystem::create_directories(m_path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return m_path; }

private:
    std::filesystem::path m_path;
};

class UserSessionTests : public ::testing::Test
{
protected:
    UserSessionTests() { Logging::LogManager::SetProvider(L"the tests'"); }

    void TearDown() override
    {
        if (session)
        {
            EXPECT_EQ(session->Outstanding().Total(), 0U);
        }
    }

    // The machine's user with what the module does for it.
    Launcher& SignIn(Simulator::UserSessionOptions options = {})
    {
        session.emplace(machine, std::move(options));
        session->Attach(TheModule());
        return launcher.emplace();
    }

    [[nodiscard]] std::string LastLine() const
    {
        const std::vector<LogLine> log = transcript.Log();
        return log.empty() ? std::string{} : Narrow(Describe(log.back()));
    }

    Watchdog watchdog{"a test of the simulated user session"};
    Simulator::Description machine = Machine();
    Transcript transcript;
    std::optional<UserSession> session;
    std::optional<Launcher> launcher;
};

} // namespace

TEST_F(UserSessionTests, TheUserWhoIsSignedInHasTheProfileOfTheDescription)
{
    std::wstring profile;
    EXPECT_TRUE(SignIn().IsRealUserSession(profile));
    EXPECT_EQ(Narrow(profile), "C:\\Users\\ann");
}

TEST_F(UserSessionTests, WithNobodySignedInThereIsNoTokenAndNothingStarts)
{
    machine.session.signedIn = false;

    EXPECT_EQ(SignIn().GetUserTokenForCurrentUser(TokenImpersonation), nullptr);
    EXPECT_EQ(LastLine(), "Warning Problem while querying user's access token.");
    EXPECT_FALSE(launcher->Run(L"App.exe", Family, L""));
    EXPECT_TRUE(session->Started().empty());
}

TEST_F(UserSessionTests, TokensAreCountedUntilTheyAreClosed)
{
    std::shared_ptr<void> token = SignIn().GetUserTokenForCurrentUser(TokenPrimary);

    EXPECT_EQ(session->Outstanding().tokens, 1U);
    token.reset();
    EXPECT_EQ(session->Outstanding().tokens, 0U);
}

TEST_F(UserSessionTests, VariablesOfTheUserAndOfTheSystemAreExpanded)
{
    const std::shared_ptr<void> token = SignIn().GetUserTokenForCurrentUser(TokenImpersonation);
    const auto expand = [&](const wchar_t* text) {
        return Narrow(launcher->GetPathExpandedImpersonatedAsCurrentUser(text, token));
    };

    EXPECT_EQ(expand(L"%zv_colour%\\%UserName%"), "blue\\ann");
    EXPECT_EQ(expand(L"%SystemDrive%"), "C:");
    EXPECT_EQ(expand(L"100%, %%, %nobody's%ZV_COLOUR%"), "100%, %%, %nobody'sblue");
    EXPECT_EQ(expand(L""), "");
    EXPECT_EQ(expand(std::wstring(520, L'x').c_str()), "");
    EXPECT_EQ(LastLine(), "Warning Problem while expanding path.");
}

TEST_F(UserSessionTests, OnlyTheUserHasPackages)
{
    const std::shared_ptr<void> token = SignIn().GetUserTokenForCurrentUser(TokenImpersonation);

    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(Family), L"");
    EXPECT_EQ(launcher->GetPackageInstalledPathByFullName(FullName), L"");
    EXPECT_EQ(Narrow(launcher->GetPackageFullNameByFamilyName(Family, token)), Narrow(FullName));
    EXPECT_EQ(Narrow(launcher->GetPackageInstalledPathByFullName(FullName, token)), "C:\\Apps\\Zv.App");
    EXPECT_EQ(launcher->GetPackageFullNameByFamilyName(L"none", token), L"");
    EXPECT_EQ(launcher->GetPackageInstalledPathByFullName(L"none", token), L"");
}

TEST_F(UserSessionTests, OriginAndVersionAreThoseOfTheDescription)
{
    const Launcher::OriginAndVersion found = SignIn().GetOriginAndVersionByFamilyName(Family);

    EXPECT_EQ(found.first, 3);
    EXPECT_EQ(found.second, 0x0001'0002'0003'0004U);
    EXPECT_EQ(LastLine(), "Info Origin: 3. Version: 1 2 3 4");
}

TEST_F(UserSessionTests, APackageThatIsNotStagedHasNoOrigin)
{
    machine.packages[0].fullNames[1].origin.reset();

    EXPECT_THROW(static_cast<void>(SignIn().GetOriginAndVersionByFamilyName(Family)), std::runtime_error);
}

TEST_F(UserSessionTests, AStartedProcessIsRecordedWithWhatItWasGiven)
{
    std::vector<std::wstring> seen;
    EXPECT_TRUE(SignIn({false, [&seen](const StartedProcess& started) { seen.push_back(started.commandLine); }})
                    .Run(L"App.exe", Family, L"21#0"));

    const std::vector<StartedProcess> all = session->Started();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(Narrow(all[0].application), Narrow(AliasPath));
    EXPECT_EQ(Narrow(all[0].commandLine), " 21#0");
    EXPECT_EQ(Narrow(all[0].directory), "C:\\Apps\\Zv.App");
    EXPECT_EQ(all[0].flags, 0x80430U);
    EXPECT_FALSE(all[0].inheritsHandles);
    EXPECT_EQ(all[0].process, nullptr);
    EXPECT_EQ(std::count(all[0].environment.begin(), all[0].environment.end(), L"ZV_COLOUR=blue"), 1);
    EXPECT_EQ(std::count(all[0].environment.begin(), all[0].environment.end(), L"USERPROFILE=C:\\Users\\ann"), 1);
    EXPECT_EQ(seen, std::vector<std::wstring>{L" 21#0"});
}

TEST_F(UserSessionTests, TheRecordKeepsTheOrderOfTheLaunches)
{
    SignIn();
    EXPECT_TRUE(launcher->Run(L"App.exe", Family, L"first"));
    EXPECT_TRUE(launcher->Run(L"APP.EXE", Family, L""));

    const std::vector<StartedProcess> all = session->Started();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(Narrow(all[0].commandLine), " first");
    EXPECT_EQ(Narrow(all[1].commandLine), Narrow(all[1].application));
    EXPECT_NE(all[0].processId, all[1].processId);
}

TEST_F(UserSessionTests, AnAliasThatNoPackageHasIsNotFound)
{
    EXPECT_FALSE(SignIn().Run(L"Other.exe", Family, L""));
    EXPECT_EQ(LastLine(), "Warning Problem while creating process as user 2.");
    EXPECT_TRUE(session->Started().empty());
}

TEST_F(UserSessionTests, ForRealTheExecutableRunsWithCommandLineEnvironmentAndFolder)
{
    const Folder folder;
    const std::filesystem::path report = folder.Path() / L"report.txt";
    machine.session.environment.emplace_back(L"ZV_REPORT", report.wstring());
    SetEnvironmentVariableW(L"ZV_OF_THE_SERVICE", L"not for the user");
    machine.packages[0].fullNames[1].folder = folder.Path().wstring();
    machine.packages[0].executable = (TestFolder() / L"LaunchedProgram.exe").wstring();

    EXPECT_TRUE(SignIn({.launchForReal = true}).Run(L"App.exe", Family, L"21#0#24-03-05 14:07:09"));

    const std::vector<StartedProcess> all = session->Started();
    ASSERT_EQ(all.size(), 1U);
    ASSERT_NE(all[0].process, nullptr);
    ASSERT_EQ(WaitForSingleObject(all[0].process.get(), 20'000), WAIT_OBJECT_0);
    DWORD exitCode = 1;
    EXPECT_TRUE(GetExitCodeProcess(all[0].process.get(), &exitCode));
    EXPECT_EQ(exitCode, 0U);
    EXPECT_EQ(GetProcessId(all[0].process.get()), all[0].processId);

    std::ifstream file{report, std::ios::binary};
    const std::string text{std::istreambuf_iterator<char>{file}, {}};
    EXPECT_EQ(text, "command line: [ 21#0#24-03-05 14:07:09]\n"
                    "arguments: [] [21#0#24-03-05] [14:07:09]\n"
                    "directory: [" +
                        Narrow(folder.Path().wstring()) +
                        "]\n"
                        "ZV_COLOUR: [blue]\n"
                        "USERPROFILE: [C:\\Users\\ann]\n"
                        "ZV_OF_THE_SERVICE: []\n");
}

TEST_F(UserSessionTests, ForRealAFolderThatIsNotThereIsAFailedLaunch)
{
    machine.packages[0].fullNames[1].folder = L"C:\\no such folder";
    machine.packages[0].executable = (TestFolder() / L"LaunchedProgram.exe").wstring();

    EXPECT_FALSE(SignIn({.launchForReal = true}).Run(L"App.exe", Family, L""));
    EXPECT_EQ(LastLine(), "Warning Problem while creating process as user 267.");
    EXPECT_TRUE(session->Started().empty());
}

TEST_F(UserSessionTests, ForRealAPackageWithoutAnExecutableIsPretended)
{
    EXPECT_TRUE(SignIn({.launchForReal = true}).Run(L"App.exe", Family, L""));
    ASSERT_EQ(session->Started().size(), 1U);
    EXPECT_EQ(session->Started()[0].program, L"");
}

TEST_F(UserSessionTests, HandlesOfAListReachTheChildThatRunsForReal)
{
    const Folder folder;
    machine.packages[0].executable = (TestFolder() / L"LaunchedProgram.exe").wstring();
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const HANDLE listed = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
    ASSERT_NE(listed, nullptr);
    const std::shared_ptr<void> owner{listed, [](void* handle) { CloseHandle(handle); }};
    const std::shared_ptr<void> token = SignIn({.launchForReal = true}).GetUserTokenForCurrentUser(TokenPrimary);

    DWORD processId = 0;
    const std::wstring commandLine = L"app --set " + std::to_wstring(reinterpret_cast<std::uintptr_t>(listed));
    EXPECT_TRUE(launcher->RunExeAsUser(AliasPath, folder.Path().wstring(), token, commandLine, processId, {listed}));
    ASSERT_EQ(session->Started().size(), 1U);
    EXPECT_EQ(session->Started()[0].processId, processId);
    EXPECT_TRUE(session->Started()[0].inheritsHandles);
    EXPECT_EQ(WaitForSingleObject(listed, 20'000), WAIT_OBJECT_0) << "set by the child";
    EXPECT_EQ(WaitForSingleObject(session->Started()[0].process.get(), 20'000), WAIT_OBJECT_0);
}

TEST_F(UserSessionTests, TheNotebookHasBothCompanionApps)
{
    const Simulator::Machine notebook = Simulator::Machine::Load(ZV_MACHINES "/notebook.json");
    machine = notebook.GetDescription();
    SignIn();

    EXPECT_TRUE(launcher->Run(L"Lumashade.exe", L"7B3E90C4.Lumashade_k2x7m4qp9wt1d", L""));
    EXPECT_TRUE(launcher->Run(L"ChimeboxUWP.exe", L"7B3E90C4.Chimeboxes_k2x7m4qp9wt1d", L"3#0"));
    EXPECT_EQ(session->Started().size(), 2U);
}

TEST_F(UserSessionTests, ThereIsOneAtATime)
{
    SignIn();
    EXPECT_THROW(UserSession{machine}, std::logic_error);
}

TEST_F(UserSessionTests, WhenItGoesTheModuleIsAsBefore)
{
    SignIn();
    session.reset();
    const Interception::ImportTable imports{TheModule()};
    EXPECT_EQ(imports.Current<void*>(nullptr, "WTSQueryUserToken"),
              reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"wtsapi32.dll"), "WTSQueryUserToken")));
}

TEST(UserSessionStartTests, AttachedBeforeTheStartItDecidesAboutTheSessionApiSet)
{
    EXPECT_EQ(RunToEnd(TestFolder() / L"StartProbe.exe", L"simulate present"),
              "load\ncall\nInfo Attempting to impersonate logged in user.\na token\n");
    EXPECT_EQ(RunToEnd(TestFolder() / L"StartProbe.exe", L"simulate absent"),
              "load\ncall\n"
              "Error Problem in GetUserTokenForCurrentUser. Dependencies is not available in this platform.\n"
              "no token\n");
}

} // namespace Zv::Testing
