// wmihost shell with lines from a file, and with somebody who types.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

Outcome RunScript(const std::string& script, const std::vector<std::string>& more = {})
{
    std::vector<std::string> arguments{"shell"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunSimulated("notebook", arguments, script);
}

std::filesystem::path Helper(const std::string& name)
{
    return HostFolder().parent_path() / "tests" / "host" / (name + ".exe");
}

std::size_t Count(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    {
        ++count;
    }
    return count;
}

TEST(HostShell, RunsTheLinesOfAFileWithoutAPrompt)
{
    const Outcome outcome = RunScript("\xef\xbb\xbf# the board\r\n"
                                      "get Win32_BaseBoard Product\r\n"
                                      "\n"
                                      "  wmihost get Win32_BIOS SMBIOSBIOSVersion --json\n"
                                      "firmware 1 40 --out 4"); // the last line need not end
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.error, "");
    const std::vector<std::string> lines = outcome.OutputLines();
    ASSERT_EQ(lines.size(), 5U) << outcome.output;
    EXPECT_EQ(lines[0], "7C21");
    EXPECT_EQ(lines[1].rfind("{\"result\":\"", 0), 0U) << lines[1];
    EXPECT_EQ(lines[2].rfind("return code  0 ", 0), 0U) << lines[2];
}

TEST(HostShell, HasOneSessionOfAModuleThatIsLoadedOnce)
{
    // A registration belongs to a session: another session's function 8 would find none, and answer 2.
    const Outcome outcome = RunScript("events on\nget Win32_BaseBoard Product\nrun 8\nrun 8\n");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "7C21\n{\"result\":0}\n{\"result\":2}\n");
    EXPECT_EQ(outcome.error, "no more events are shown: the registration has ended\n");
}

TEST(HostShell, TakesWordsApartAsItSays)
{
    const Outcome outcome = RunScript(R"(get Win32_Process Name --where "Name = 'System'" --namespace ROOT\CIMV2)"
                                      "\n"
                                      R"(get "Win32_BaseBoard" Prod"uct" --namespace="root\cimv2")"
                                      "\n");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, "System\n7C21\n");
}

TEST(HostShell, StopsAtTheFirstFailureAndNamesItsLine)
{
    const Outcome outcome = RunScript("get Win32_BaseBoard Product\n\nget Win32_BaseBoard Colour\nexplain 0\n");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "7C21\n");
    EXPECT_EQ(outcome.error, "line 3: 0x2000000d: no such property: Win32_BaseBoard.Colour in ROOT\\CIMV2\n");
}

TEST(HostShell, GoesOnWhenItIsToldTo)
{
    const Outcome outcome = RunScript("get Win32_BaseBoard\n"
                                      "firmware 1 9\n"
                                      "get \"Win32_BaseBoard Product\n"
                                      "get Win32_BaseBoard Product\n",
                                      {"--keep-going"});
    EXPECT_EQ(outcome.exitCode, 2) << "that of the first";
    EXPECT_TRUE(outcome.output.ends_with("7C21\n")) << outcome.output;
    EXPECT_EQ(outcome.error, "line 1: wmihost get: PROPERTY is required; see wmihost get --help\n"
                             "the firmware refused the command: return code 3735928559 (0xdeadbeef)\n"
                             "line 2: firmware ended with exit code 7\n"
                             "line 3: a double quote has no second one; between two of them, \"\" stands for one\n");
}

TEST(HostShell, ErrorsAreJsonForProgramsToo)
{
    const Outcome outcome = RunScript("explain 0x12345678\n", {"--json"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.output.rfind("{\"error\":{\"message\":\"line 1: 0x12345678 is no code", 0), 0U) << outcome.output;
}

TEST(HostShell, AFailureIsNotToldOfTheNextLine)
{
    const TemporaryFolder folder;
    const std::string machine =
        folder.Write("machine.json",
                     R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[{"name":"A",)"
                     R"("properties":{"P":"string"}}]},{"path":"root\\wmi","classes":[{"name":"zvqBEvnt","event":true,)"
                     R"("properties":{"EventID":"uint32","EventData":"uint32"}}]}],)"
                     R"("events":{"namespace":"root\\wmi","class":"zvqBEvnt"},)"
                     R"("faults":[{"at":"IWbemServices::ExecQuery","call":1,"status":"E_OUTOFMEMORY"}]})");
    const Outcome outcome =
        RunHost({"shell", "--keep-going", "--simulate", machine}, "events on\nget A P\nget A P\nevents off\n");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(
        outcome.error,
        "line 2: 0x20000002: failed: A.P in ROOT\\CIMV2: IWbemServices->ExecQuery gave 0x8007000e (out of memory)\n"
        "line 3: 0x20000002: failed, or nothing found: A.P in ROOT\\CIMV2\n");
}

TEST(HostShell, RefusesWhatCannotShareASession)
{
    struct Case
    {
        const char* line;
        const char* error;
    };
    const Case cases[] = {
        {"shell", "shell does not run in the shell: it is running already"},
        {"hotkeys --press 20",
         "hotkeys does not run in the shell: the start-up task's threads would go on as long as the shell"},
        {"get A B --simulate x", "wmihost get: --simulate: goes with wmihost shell itself, whose one session all lines "
                                 "have; see wmihost get --help"},
        {"run 16 -", "the shell reads its lines from standard input; name a file instead of -"},
        {"firmware 1 1 --in @-", "the shell reads its lines from standard input; name a file instead of -"},
        {"check -", "the shell reads its lines from standard input; name a file instead of -"},
        {"events on --count 2", "wmihost events: --count excludes STATE; see wmihost events --help"},
        {"events maybe", "wmihost events: STATE: \"maybe\" is neither on nor off; see wmihost events --help"},
    };
    std::string script;
    std::string errors;
    for (const Case& c : cases)
    {
        script += std::string{c.line} + '\n';
        errors += "line " + std::to_string(Count(script, "\n")) + ": " + c.error + '\n';
    }
    const Outcome outcome = RunScript(script, {"--keep-going"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, errors);
}

TEST(HostShell, APasswordIsTheNextLine)
{
    const Outcome outcome = RunScript("set \"Wake On LAN\" Disabled --password -\n"
                                      "Winter-2024\n"
                                      "set \"Wake On LAN\" Disabled --password -\n"
                                      "get\n" // no command: a wrong password
                                      "get Win32_BaseBoard\n",
                                      {"--keep-going"});
    EXPECT_EQ(outcome.exitCode, 7);
    EXPECT_EQ(outcome.output, "Wake On LAN is set\n");
    EXPECT_EQ(Count(outcome.error, "get"), 2U) << outcome.error;
    EXPECT_NE(outcome.error.find("line 5: wmihost get: PROPERTY is required"), std::string::npos) << outcome.error;
}

TEST(HostShell, LeavesWhereItIsTold)
{
    for (const char* const word : {"exit", "quit"})
    {
        const Outcome outcome = RunScript(std::string{"get Win32_BaseBoard Product\n"} + word + "\nget\n");
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.output, "7C21\n");
        EXPECT_EQ(outcome.error, "");
    }
}

TEST(HostShell, TheEndOfItsInputEndsARegistration)
{
    const Outcome outcome = RunScript("events on --id 20\nevents --count 1\n");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.error, "line 2: events are shown already; \"events off\" ends that\n");

    const Outcome ended = RunScript("events on\n");
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.error, "");
}

TEST(HostShell, ALineThatTakesTooLongEndsAndTheNextOneRuns)
{
    const Outcome outcome =
        RunScript("events --count 1\nget Win32_BaseBoard Product\n", {"--keep-going", "--timeout", "1"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.output, "7C21\n");
    EXPECT_TRUE(outcome.error.ends_with("line 1: not done after 1 s (--timeout)\n")) << outcome.error;
}

TEST(HostShell, HelpNamesWhatCanBeTyped)
{
    const Outcome outcome = RunScript("help\nhelp events\nget --help\n");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    for (const char* const text : {"\n  get ", "\n  exit", "\n  help ", "events on --id 20", "wmihost get Win32_"})
    {
        EXPECT_NE(outcome.output.find(text), std::string::npos) << text;
    }
    EXPECT_EQ(outcome.output.find("\n  hotkeys "), std::string::npos);
}

TEST(HostShell, ALineThatIsNoTextIsNamed)
{
    const Outcome outcome = RunScript("get Win32_BaseBoard Product\n\xff\xfe\n");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.error, "line 2: standard input is not text in UTF-8\n");
}

TEST(HostShell, CtrlCEndsAScriptWhateverItIsTold)
{
    const StartedProgram shell{HostFolder() / "wmihost.exe",
                               {"shell", "--keep-going", "--simulate", ZV_MACHINES "/notebook.json"},
                               "events --count 1\nget Win32_BaseBoard Product\n",
                               CREATE_NO_WINDOW};
    shell.WaitForError("listening\n");
    EXPECT_TRUE(PressCtrlC(shell));
    const Outcome outcome = shell.WaitForEnd();
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "listening\n0 events\nline 1: interrupted\n");
}

// Somebody at a console; what is typed is not among the outputs.
class HostInteractiveShell : public ::testing::Test
{
protected:
    HostInteractiveShell()
        : m_shell{Helper("ConsoleRunner"),
                  {(HostFolder() / "wmihost.exe").string(), "shell", "--simulate", ZV_MACHINES "/notebook.json"},
                  "",
                  CREATE_NO_WINDOW}
    {
        WaitForPrompts(1);
    }

    void Type(const std::string& text) const
    {
        ASSERT_EQ(RunProgram(Helper("ConsoleTypist"), {std::to_string(m_shell.Id()), text}).exitCode, 0);
    }

    void WaitForPrompts(std::size_t count) const
    {
        std::string prompts;
        for (std::size_t i = 0; i < count; ++i)
        {
            prompts += "wmihost> ";
        }
        m_shell.WaitForError(prompts);
    }

    [[nodiscard]] const StartedProgram& Shell() const noexcept { return m_shell; }

    // Leaves by a line that does so.
    [[nodiscard]] Outcome End(const std::string& line = "exit\r") const
    {
        Type(line);
        return m_shell.WaitForEnd();
    }

private:
    const StartedProgram m_shell;
};

TEST_F(HostInteractiveShell, RunsTheLinesThatAreTyped)
{
    Type("get Win32_BaseBoard Product\r");
    WaitForPrompts(2);
    Type("get Win32_BaseBoard\r");
    Shell().WaitForError("wmihost get: PROPERTY is required; see wmihost get --help\nwmihost> ");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.exitCode, 0) << "whatever failed";
    EXPECT_EQ(outcome.output, "7C21\n");
}

TEST_F(HostInteractiveShell, CtrlZEndsTheInput)
{
    EXPECT_EQ(End("\x1a\r").exitCode, 0);
}

TEST_F(HostInteractiveShell, TabCompletesWhatThereIsOneOf)
{
    Type("ge\tWin32_BaseB\tProd\t\r");
    WaitForPrompts(1);
    const Outcome outcome = End();
    EXPECT_EQ(outcome.output, "7C21\n");
    EXPECT_NE(outcome.error.find("oard "), std::string::npos) << "the rest of the class is shown: " << outcome.error;
}

TEST_F(HostInteractiveShell, TabListsWhatThereIsMoreOf)
{
    Type("get Win32_B\t");
    Shell().WaitForError("\nWin32_BIOS       Win32_BaseBoard  Win32_Battery\nwmihost> get Win32_B");
    Type("IOS SMBIOSBIOSVersion\r");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.OutputLines().size(), 1U) << outcome.output;
    EXPECT_EQ(outcome.exitCode, 0);
}

TEST_F(HostInteractiveShell, ShowsEventsWhileNobodyTypes)
{
    const std::string channel = "shell-test-" + std::to_string(GetCurrentProcessId());
    Type("events on --channel " + channel + "\r");
    WaitForPrompts(2);
    EXPECT_EQ(RunHost({"send", channel, "20:0xff0000"}).output, "20:16711680 sent to 1 subscription\n");
    Shell().WaitForError("wmihost> \r         \rwmihost> "); // the prompt made room for it
    const Outcome outcome = End();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.output.find("  id 20 (0x14)  data 16711680 (0xff0000)\n"), std::string::npos) << outcome.output;
}

TEST_F(HostInteractiveShell, EventsDoNotDisturbALineThatIsBeingTyped)
{
    const std::string channel = "shell-test-" + std::to_string(GetCurrentProcessId());
    Type("events on --channel " + channel + "\r");
    WaitForPrompts(2);
    Type("get Win32_BaseBoard");
    EXPECT_EQ(RunHost({"send", channel, "20"}).exitCode, 0);
    Type(" Product\r");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.error, "wmihost> wmihost> wmihost> ");
    const std::vector<std::string> lines = outcome.OutputLines();
    ASSERT_EQ(lines.size(), 2U) << outcome.output;
    EXPECT_NE(lines[0].find("  id 20 (0x14)  data 0"), std::string::npos) << outcome.output;
    EXPECT_EQ(lines[1], "7C21");
}

TEST_F(HostInteractiveShell, CtrlCTakesTheTypedLineBack)
{
    ASSERT_TRUE(PressCtrlC(Shell()));
    Shell().WaitForError("wmihost> \nwmihost> ");
    Type("get Win32_BaseBoard");
    ASSERT_TRUE(PressCtrlC(Shell()));
    Shell().WaitForError("wmihost> \nwmihost> \nwmihost> ");
    Type("explain 0\r");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.output.find("Success"), std::string::npos) << outcome.output;
}

TEST_F(HostInteractiveShell, CtrlCEndsTheCommandAndNotTheShell)
{
    Type("events --count 1\r");
    Shell().WaitForError("listening\n");
    ASSERT_TRUE(PressCtrlC(Shell()));
    Shell().WaitForError("interrupted\nwmihost> ");
    Type("get Win32_BaseBoard Product\r");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "7C21\n");
}

TEST_F(HostInteractiveShell, APasswordIsAskedFor)
{
    Type("set \"Wake On LAN\" Disabled --password -\r");
    Shell().WaitForError("Setup password: ");
    Type("Winter-2024\r");
    const Outcome outcome = End();
    EXPECT_EQ(outcome.output, "Wake On LAN is set\n");
    EXPECT_EQ(outcome.exitCode, 0);
}

} // namespace
} // namespace Zv::Testing
