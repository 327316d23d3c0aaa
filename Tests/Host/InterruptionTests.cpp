// Ctrl-C and --timeout.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

// wmihost on a machine with events, in a console of its own.
class HostInterrupted : public ::testing::Test
{
protected:
    StartedProgram Start(std::vector<std::string> arguments, const std::string& machine = EventMachine(""))
    {
        arguments.insert(arguments.end(), {"--simulate", m_folder.Write("machine.json", machine)});
        return {HostFolder() / "wmihost.exe", arguments, "", CREATE_NO_WINDOW};
    }

    // Presses Ctrl-C in the program's console and waits for its end.
    static Outcome Interrupt(const StartedProgram& program)
    {
        EXPECT_TRUE(PressCtrlC(program));
        return program.WaitForEnd();
    }

private:
    const TemporaryFolder m_folder;
};

TEST_F(HostInterrupted, EventsThatNothingElseWouldEndAreDone)
{
    const StartedProgram events = Start({"events"}, EventMachine(R"({"id":7,"data":0})"));
    events.WaitForError("listening\n");
    const Outcome outcome = Interrupt(events);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(outcome.error.ends_with(std::to_string(outcome.OutputLines().size()) +
                                        (outcome.OutputLines().size() == 1 ? " event\n" : " events\n")))
        << outcome.error;
}

TEST_F(HostInterrupted, EventsThatWereToBeCountedAreNot)
{
    for (const std::vector<std::string>& limit : {std::vector<std::string>{"--count", "1"}, {"--for", "600"}})
    {
        const StartedProgram events = Start({"events", limit[0], limit[1]});
        events.WaitForError("listening\n");
        const Outcome outcome = Interrupt(events);
        EXPECT_EQ(outcome.exitCode, 6);
        EXPECT_EQ(outcome.error, "listening\n0 events\ninterrupted\n");
    }
}

TEST_F(HostInterrupted, ARawRegistrationIsEndedAndAnswers)
{
    const StartedProgram run = Start({"run", "4", "--log", "info"}, EventMachine(R"({"everyMs":50,"id":7,"data":0})"));
    run.WaitForError("missing key filterEvent"); // the module has begun
    const Outcome outcome = Interrupt(run);
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_EQ(outcome.OutputLines().back(), "{\"result\":0}") << outcome.output;
    EXPECT_TRUE(outcome.error.ends_with("interrupted\n")) << outcome.error;
}

TEST(HostTimeOut, EndsARawRegistrationWhichAnswers)
{
    const TemporaryFolder folder;
    const Outcome outcome =
        RunHost({"run", "4", "--timeout", "2.5", "--simulate", folder.Write("machine.json", EventMachine(""))});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.output, "{\"result\":0}\n");
    EXPECT_EQ(outcome.error, "not done after 2.5 s (--timeout)\n");
}

TEST(HostTimeOut, LeavesACallThatHangs)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", HangingMachine());
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"get", "Win32_BIOS", "Name"}, {"text", "Win32_BIOS"}})
    {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.end(), {"--simulate", machine, "--timeout", "0.25", "--json"});
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.exitCode, 5);
        EXPECT_EQ(outcome.error, "not done after 0.25 s (--timeout); a call that hangs was left\n");
        EXPECT_EQ(outcome.output, "{\"error\":{\"message\":\"not done after 0.25 s (--timeout); a call that hangs was "
                                  "left\"}}\n");
    }
}

TEST(HostTimeOut, LeavesARegistrationThatHangs)
{
    const TemporaryFolder folder;
    std::string machine = EventMachine("");
    machine.insert(machine.size() - 1, R"(,"faults":[{"at":"IWbemLocator::ConnectServer","from":1,"hang":true}])");
    const Outcome outcome =
        RunHost({"events", "--simulate", folder.Write("machine.json", machine), "--timeout", "0.25"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.error, "not done after 0.25 s (--timeout); a call that hangs was left\n");
}

TEST_F(HostInterrupted, ACallThatHangsIsLeft)
{
    const StartedProgram get = Start({"get", "Win32_BIOS", "Name", "--log", "info"}, HangingMachine());
    get.WaitForError("missing key filter"); // the module has begun
    const Outcome outcome = Interrupt(get);
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_TRUE(outcome.error.ends_with("interrupted; a call that hangs was left\n")) << outcome.error;
}

TEST(HostTimeOut, IsNothingToACommandThatIsDoneInTime)
{
    const Outcome outcome =
        RunHost({"get", "Win32_BaseBoard", "Product", "--simulate", ZV_MACHINES "/notebook.json", "--timeout", "60"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "7C21\n");
    EXPECT_EQ(outcome.error, "");
}

} // namespace
} // namespace Zv::Testing
