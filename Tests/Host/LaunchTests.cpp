// wmihost package and launch, on the simulated notebook.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Utf8.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Tessel::Server::Shared::Handle;

constexpr char Lumashade[] = "7B3E90C4.Lumashade_k2x7m4qp9wt1d";
constexpr char Chimebox[] = "7B3E90C4.Chimeboxes_k2x7m4qp9wt1d";

Outcome RunOnNotebook(std::vector<std::string> arguments)
{
    return RunSimulated("notebook", std::move(arguments));
}

// A machine with a session and packages alone.
Outcome RunOn(const std::string& sections, std::vector<std::string> arguments)
{
    const TemporaryFolder folder;
    arguments.insert(
        arguments.end(),
        {"--simulate", folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[],)" + sections + "}")});
    return RunHost(arguments);
}

TEST(HostPackage, ShowsThePackageOfTheConsoleUser)
{
    const Outcome outcome = RunOnNotebook({"package", Lumashade});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output,
              "full name  7B3E90C4.Lumashade_2.1.14.0_x64__k2x7m4qp9wt1d\n"
              "folder     C:\\Program Files\\WindowsApps\\7B3E90C4.Lumashade_2.1.14.0_x64__k2x7m4qp9wt1d\n"
              "origin     3 (store)\n"
              "version    2.1.14.0\n");
}

TEST(HostPackage, PrintsAnObjectForPrograms)
{
    EXPECT_EQ(RunOnNotebook({"package", Chimebox, "--json"}).output,
              "{\"fullName\":\"7B3E90C4.Chimeboxes_1.38.2.0_x64__k2x7m4qp9wt1d\","
              "\"folder\":\"C:\\\\Program Files\\\\WindowsApps\\\\7B3E90C4.Chimeboxes_1.38.2.0_x64__k2x7m4qp9wt1d\","
              "\"origin\":3,\"originName\":\"store\",\"version\":\"1.38.2.0\"}\n");
}

TEST(HostPackage, SaysThatThePackageIsNotThere)
{
    const Outcome outcome = RunOnNotebook({"package", "Foo_1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "the console user has no package Foo_1: Problem while finding out the size of the buffer. "
                             "Returned length is 0\n");
}

TEST(HostPackage, SaysThatNobodyIsSignedIn)
{
    const Outcome outcome = RunOn(R"("session":{"signedIn":false})", {"package", "Foo_1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "no token of the console user, which needs a user who is signed in and the rights of a "
                             "service: Problem while querying user's access token\n");
}

TEST(HostPackage, SaysThatTheSystemHasNoSessions)
{
    EXPECT_EQ(RunOn(R"("session":{"signedIn":true,"sessionApi":false})", {"package", "Foo_1"}).error,
              "no token of the console user, which needs a user who is signed in and the rights of a service: Problem "
              "in GetUserTokenForCurrentUser. Dependencies is not available in this platform\n");
}

TEST(HostPackage, SaysThatAPackageHasNoOrigin)
{
    const Outcome outcome = RunOn(
        R"("session":{"signedIn":true},"packages":[{"family":"F_1","fullNames":[{"name":"F_1.0","folder":"C:\\f"}]}])",
        {"package", "F_1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "F_1: Problem while retrieving the origin of the package.\n");
}

TEST(HostPackage, NeedsASystemWithPackages)
{
    const Outcome outcome = RunHost({"package", "F_1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(outcome.error, "");
}

TEST(HostLaunch, ShowsWhatWouldBeStarted)
{
    const Outcome outcome = RunOnNotebook({"launch", "ChimeboxUWP.exe", Chimebox, "21#0#24-03-05 14:07:09"});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output,
              "application   C:\\Users\\Robin\\AppData\\Local\\Microsoft\\WindowsApps\\ChimeboxUWP.exe\n"
              "command line  [ 21#0#24-03-05 14:07:09]\n"
              "folder        C:\\Program Files\\WindowsApps\\7B3E90C4.Chimeboxes_1.38.2.0_x64__k2x7m4qp9wt1d\n"
              "simulated\n");
}

TEST(HostLaunch, StartsTheProgramOfTheDescriptionForReal)
{
    const TemporaryFolder folder;
    const std::wstring doneName = L"zv launched " + std::to_wstring(GetCurrentProcessId());
    const Handle done{CreateEventW(nullptr, TRUE, FALSE, doneName.c_str())};
    const std::filesystem::path program = HostFolder().parent_path() / "tests" / "LaunchedProgram.exe";
    const std::string machine =
        R"("session":{"signedIn":true,"profile":"C:\\Users\\ann","environment":{"ZV_REPORT":")" +
        JsonEscaped((folder / "report.txt").string()) + R"(","ZV_DONE":")" + Zv::ToUtf8(doneName) +
        R"("}},"packages":[{"family":"F_1","alias":"f.exe","executable":")" + JsonEscaped(program.string()) +
        R"(","fullNames":[{"name":"F_1.0","folder":"C:\\windows"}]}])";

    const Outcome outcome = RunOn(machine, {"launch", "f.exe", "F_1", "one two", "--launch-for-real"});

    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.output.find("running       " + program.string() + ", process "), std::string::npos)
        << outcome.output;
    ASSERT_EQ(WaitForSingleObject(done.Get(), 30'000), WAIT_OBJECT_0) << "the program reports";
    EXPECT_EQ(TemporaryFolder::Read(folder / "report.txt"),
              "command line: [ one two]\narguments: [] [one] [two]\ndirectory: [C:\\windows]\nZV_COLOUR: []\n"
              "USERPROFILE: [C:\\Users\\ann]\nZV_OF_THE_SERVICE: []\n");
}

TEST(HostLaunch, SaysWhyNothingWasStarted)
{
    const Outcome outcome = RunOnNotebook({"launch", "other.exe", Lumashade});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, std::string{"other.exe of "} + Lumashade +
                                 " was not started: Problem while creating process as user 2\n");
}

TEST(HostLaunch, LaunchesForRealOnSimulatedMachinesOnly)
{
    const Outcome outcome = RunHost({"launch", "f.exe", "F_1", "--launch-for-real"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.error, "wmihost launch: --launch-for-real goes with --simulate; see wmihost launch --help\n");
}

TEST(HostLaunch, NeedsAliasAndFamily)
{
    EXPECT_EQ(RunHost({"launch", "f.exe"}).exitCode, 2);
    EXPECT_EQ(RunHost({"package"}).exitCode, 2);
}

} // namespace
} // namespace Zv::Testing
