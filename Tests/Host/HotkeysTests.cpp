// wmihost hotkeys: what is armed on each machine, and what its keys start.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Utf8.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <regex>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Tessel::Server::Shared::Handle;

constexpr char ChimeboxArmed[] = "Chimebox   armed for events 3, 131074, 131073, 21: it is supported on every board\n";

Outcome Press(const std::string& machine, const std::vector<std::string>& presses)
{
    std::vector<std::string> arguments{"hotkeys"};
    for (const std::string& press : presses)
    {
        arguments.insert(arguments.end(), {"--press", press});
    }
    return RunSimulated(machine, arguments);
}

// The part of the output that is about the keys.
std::string AfterArming(const Outcome& outcome)
{
    const std::size_t begin = outcome.output.find("\n\n");
    return begin == std::string::npos ? "" : outcome.output.substr(begin + 1);
}

TEST(HostHotkeys, OfTheNotebookAreAllArmed)
{
    const Outcome outcome = Press("notebook", {});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output, std::string{"board      7C21\n"
                                          "Lumashade  armed for event 20: board 7C21 is one of its\n"} +
                                  ChimeboxArmed);
}

TEST(HostHotkeys, OfTheDesktopAreNotArmedForTwoReasons)
{
    const Outcome outcome = Press("desktop", {"20:0xff0000", "21"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output, "board      B650M-PLUS\n"
                              "Lumashade  not armed: board B650M-PLUS is none of 7C21, 7D3A, 7D4F, 7D52, 7D60\n"
                              "Chimebox   not armed: this machine has no firmware events: its WMI has no class "
                              "zvqBEvnt\n"
                              "\nevent 20:16711680: no armed app listens for it\n"
                              "\nevent 21:0: no armed app listens for it\n");
}

TEST(HostHotkeys, OfTheMisbehavingMachineLackTheBoardAndThePackage)
{
    const Outcome outcome = Press("misbehaving", {"20:0xff0000", "21"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "");
    const std::string arming = std::string{"board      unknown\n"
                                           "Lumashade  not armed: the board's id cannot be read\n"} +
                               ChimeboxArmed;
    EXPECT_EQ(outcome.output.substr(0, arming.size()), arming);
    EXPECT_EQ(AfterArming(outcome),
              "\nevent 20:16711680: no armed app listens for it\n"
              "\nevent 21:0: Chimebox not started: Problem while finding out the size of the buffer. Returned length "
              "is 0; 7B3E90C4.Chimeboxes_k2x7m4qp9wt1d NOT INSTALLED\n");
}

TEST(HostHotkeys, LumashadeStartsWithThePathOfItsAliasAlone)
{
    const Outcome outcome = Press("notebook", {"20:0xff0000"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(AfterArming(outcome),
              "\nevent 20:16711680: Lumashade started\n"
              "application   C:\\Users\\Robin\\AppData\\Local\\Microsoft\\WindowsApps\\Lumashade.exe\n"
              "command line  [C:\\Users\\Robin\\AppData\\Local\\Microsoft\\WindowsApps\\Lumashade.exe]\n"
              "folder        C:\\Program Files\\WindowsApps\\7B3E90C4.Lumashade_2.1.14.0_x64__k2x7m4qp9wt1d\n"
              "simulated\n");
}

TEST(HostHotkeys, ChimeboxStartsWithIdDataAndTime)
{
    for (const auto& [press, begin] :
         {std::pair{"21", "21#0#"}, {"3:-7", "3#-7#"}, {"0x20001:0x10", "131073#16#"}, {"131074:1", "131074#1#"}})
    {
        const std::string text = AfterArming(Press("notebook", {press}));
        EXPECT_NE(text.find(": Chimebox started\napplication   C:\\Users\\Robin\\AppData\\Local\\Microsoft\\WindowsApps"
                            "\\ChimeboxUWP.exe\ncommand line  [ "),
                  std::string::npos)
            << text;
        EXPECT_TRUE(std::regex_search(
            text, std::regex{R"(\ncommand line  \[ )" + std::string{begin} + R"(\d\d-\d\d-\d\d \d\d:\d\d:\d\d\]\n)"}))
            << text;
    }
}

TEST(HostHotkeys, ArePressedInTheirOrderAndOnlyTheRightOnesStartSomething)
{
    const Outcome outcome =
        Press("notebook", {"20", "20:0xff0000", "22", "33", "20:0xfe0000", "-1", "21", "20:0x12ff3456", "21"});
    EXPECT_EQ(outcome.exitCode, 0);
    std::string events;
    for (const std::string& line : outcome.OutputLines())
    {
        events += line.starts_with("event ") ? line + '\n' : "";
    }
    EXPECT_EQ(events, "event 20:0: Lumashade starts nothing for it\n"
                      "event 20:16711680: Lumashade started\n"
                      "event 22:0: no armed app listens for it\n"
                      "event 33:0: no armed app listens for it\n"
                      "event 20:16646144: Lumashade starts nothing for it\n"
                      "event -1:0: no armed app listens for it\n"
                      "event 21:0: Chimebox started\n"
                      "event 20:318714966: Lumashade started\n"
                      "event 21:0: Chimebox started\n");
    const std::vector<std::string> lines = outcome.OutputLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "simulated"), 4);
}

TEST(HostHotkeys, AreObjectsForPrograms)
{
    const Outcome outcome = RunSimulated("notebook", {"hotkeys", "--json", "--press", "20:0xff0000", "--press", "5"});
    EXPECT_EQ(outcome.exitCode, 0);
    const std::string alias = R"(C:\\Users\\Robin\\AppData\\Local\\Microsoft\\WindowsApps\\Lumashade.exe)";
    const std::string process =
        R"({"application":")" + alias + R"(","commandLine":")" + alias +
        R"(","folder":"C:\\Program Files\\WindowsApps\\7B3E90C4.Lumashade_2.1.14.0_x64__k2x7m4qp9wt1d",)"
        R"("program":"","processId":)";
    const std::vector<std::string> lines = outcome.OutputLines();
    ASSERT_EQ(lines.size(), 3U) << outcome.output;
    EXPECT_EQ(lines[0],
              R"({"board":"7C21","apps":[{"app":"Lumashade","armed":true,"events":[20],"why":"board 7C21 is one of )"
              R"(its"},{"app":"Chimebox","armed":true,"events":[3,131074,131073,21],"why":"it is supported on every )"
              R"(board"}]})");
    const std::string begin = R"({"eventId":20,"eventData":16711680,"app":"Lumashade","started":[)" + process;
    EXPECT_EQ(lines[1].substr(0, begin.size()), begin);
    EXPECT_TRUE(lines[1].ends_with(R"(}],"problem":""})")) << lines[1];
    EXPECT_EQ(lines[2], R"({"eventId":5,"eventData":0,"app":null,"started":[],"problem":""})");
}

// A machine with events and the Chimebox app.
std::string ChimeboxMachine(const std::string& session, const std::string& executable)
{
    std::string machine = EventMachine("");
    machine.insert(machine.size() - 1, R"(,"session":{)" + session +
                                           R"(},"packages":[{"family":"7B3E90C4.Chimeboxes_k2x7m4qp9wt1d",)"
                                           R"("alias":"ChimeboxUWP.exe","executable":")" +
                                           JsonEscaped(executable) +
                                           R"(","fullNames":[{"name":"C_1.0","folder":"C:\\windows"}]}])");
    return machine;
}

TEST(HostHotkeys, StartTheProgramOfTheDescriptionForReal)
{
    const TemporaryFolder folder;
    const std::wstring doneName = L"zv pressed " + std::to_wstring(GetCurrentProcessId());
    const Handle done{CreateEventW(nullptr, TRUE, FALSE, doneName.c_str())};
    const std::filesystem::path program = HostFolder().parent_path() / "tests" / "LaunchedProgram.exe";
    const std::string machine = folder.Write(
        "machine.json", ChimeboxMachine(R"("signedIn":true,"profile":"C:\\Users\\ann","environment":{"ZV_REPORT":")" +
                                            JsonEscaped((folder / "report.txt").string()) + R"(","ZV_DONE":")" +
                                            Zv::ToUtf8(doneName) + R"("})",
                                        program.string()));

    const Outcome outcome = RunHost({"hotkeys", "--simulate", machine, "--press", "21:5", "--launch-for-real"});

    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.output.find("running       " + program.string() + ", process "), std::string::npos)
        << outcome.output;
    ASSERT_EQ(WaitForSingleObject(done.Get(), 30'000), WAIT_OBJECT_0) << "the program reports";
    const std::string report = TemporaryFolder::Read(folder / "report.txt");
    std::smatch commandLine;
    ASSERT_TRUE(std::regex_search(report, commandLine,
                                  std::regex{R"(command line: (\[ 21#5#\d\d-\d\d-\d\d \d\d:\d\d:\d\d\])\n)"}))
        << report;
    EXPECT_NE(outcome.output.find("command line  " + commandLine[1].str() + '\n'), std::string::npos) << outcome.output;
    EXPECT_NE(report.find("directory: [C:\\windows]"), std::string::npos) << report;
    EXPECT_NE(report.find("USERPROFILE: [C:\\Users\\ann]"), std::string::npos) << report;
}

TEST(HostHotkeys, SayThatTheProgramCannotBeStarted)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write(
        "machine.json", ChimeboxMachine(R"("signedIn":true,"profile":"C:\\Users\\ann")", "C:\\no\\such.exe"));
    const Outcome outcome = RunHost({"hotkeys", "--simulate", machine, "--press", "3", "--launch-for-real"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(std::regex_search(
        outcome.output, std::regex{"\nevent 3:0: Chimebox not started: Problem while creating process as user \\d+; "
                                   "Launcher class failed to launch The Chimebox UWP App\n"}))
        << outcome.output;
}

TEST(HostHotkeys, SayThatNobodyIsSignedIn)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", ChimeboxMachine(R"("signedIn":false)", ""));
    const Outcome outcome = RunHost({"hotkeys", "--simulate", machine, "--press", "3"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.output.find("\nevent 3:0: Chimebox not started: Problem while querying user's access token\n"),
              std::string::npos)
        << outcome.output;
}

TEST(HostHotkeys, AListenerThatCannotSubscribeIsCounted)
{
    const TemporaryFolder folder;
    std::string text = EventMachine("");
    text.insert(text.size() - 1, R"(,"faults":[{"at":"IUnsecuredApartment::CreateObjectStub","call":2,)"
                                 R"("status":"E_OUTOFMEMORY"}])");
    const std::string machine = folder.Write("machine.json", text);
    const Outcome outcome = RunHost({"hotkeys", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.output.find("Chimebox   armed for events 3, 131074, 131073, 21: 1 of 4 listeners gave up: "
                                  "CreateObjectStub gave 0x8007000e (out of memory)\n"),
              std::string::npos)
        << outcome.output;
}

TEST(HostHotkeys, EndWithTheTimeOutWhenTheStartOrAListenerHangs)
{
    for (const char* const call : {"IWbemServices::ExecQuery", "IWbemLocator::ConnectServer"})
    {
        const TemporaryFolder folder;
        std::string text = EventMachine("");
        text.insert(text.find("[{") + 1, R"({"path":"root\\CIMV2","classes":[]},)");
        text.insert(text.size() - 1, R"(,"faults":[{"at":")" + std::string{call} + R"(","from":1,"hang":true}])");
        const Outcome outcome =
            RunHost({"hotkeys", "--simulate", folder.Write("machine.json", text), "--timeout", "0.5"});
        EXPECT_EQ(outcome.exitCode, 5) << call;
        EXPECT_TRUE(outcome.error.starts_with("not done after 0.5 s (--timeout)")) << outcome.error;
    }
}

TEST(HostHotkeys, EndWithTheTimeOutWhileListenersAreStillSubscribing)
{
    const TemporaryFolder folder;
    std::string text = EventMachine("");
    text.insert(text.size() - 1, R"(,"faults":[{"at":"IUnsecuredApartment::CreateObjectStub","from":1,"hang":true}])");
    const Outcome outcome = RunHost({"hotkeys", "--simulate", folder.Write("machine.json", text), "--timeout", "3"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.error, "not done after 3 s (--timeout)\n");
}

TEST(HostHotkeys, BadInputIsOneLine)
{
    const Outcome noMachine = RunHost({"hotkeys", "--press", "20"});
    EXPECT_EQ(noMachine.exitCode, 2);
    EXPECT_EQ(noMachine.error, "wmihost hotkeys: --simulate is required; see wmihost hotkeys --help\n");

    const Outcome noEvent = RunHost({"hotkeys", "--press", "F1"});
    EXPECT_EQ(noEvent.exitCode, 2);
    EXPECT_EQ(noEvent.error, "wmihost hotkeys: --press: \"F1\" is neither ID nor ID:DATA, each a number from "
                             "-2147483648 to 4294967295, in decimal or 0x and hexadecimal; see wmihost hotkeys "
                             "--help\n");
}

} // namespace
} // namespace Zv::Testing
