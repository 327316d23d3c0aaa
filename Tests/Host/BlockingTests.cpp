// Whatever a subcommand waits for, --timeout and Ctrl-C end it.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Arguments = std::vector<std::string>;

constexpr char Request[] = R"({"property":"Name","wmiClass":"Win32_BIOS","wmiNamespace":"ROOT\\CIMV2"})";

// Subcommands that ask the machine, and what their standard error says, with --log info, once they are about to ask;
// nothing where they say nothing.
struct Question
{
    Arguments arguments;
    const char* sign;
};
const Question Questions[] = {
    {{"get", "Win32_BIOS", "Name"}, "missing key filter"},
    {{"get", "Win32_BIOS", "Name", "Version", "--all"}, "missing key filter"},
    {{"text", "Win32_BIOS"}, "missing key filter"},
    {{"firmware", "1", "1"}, nullptr},
    {{"set", "Fast Boot", "Disable"}, "missing key password"},
    {{"defaults", "--yes"}, "missing key password"},
    {{"run", "16", "request.json"}, "missing key filter"},
    {{"events"}, nullptr},
    {{"hotkeys"}, "missing key filter"},
    {{"doctor"}, "missing key filter"},
    {{"trace", "get", "Win32_BIOS", "Name"}, "missing key filter"},
    {{"record", "--out", "recorded.json", "Win32_BIOS"}, nullptr},
};

// Subcommands that read all of standard input, which says nothing.
const Arguments Readers[] = {
    {"check", "-"},
    {"run", "16", "-"},
    {"firmware", "1", "1", "--in", "@-"},
};

// Subcommands that read a line of it.
const Arguments LineReaders[] = {
    {"set", "Fast Boot", "Disable", "--password", "-"},
    {"defaults"},
};

// Subcommands that wait for nobody: explain and completion have their own texts, and a simulated user's packages answer
// at once. The shell waits for lines as long as they come, and has a time-out for each.
const std::set<std::string> Immediate{"explain", "completion", "package", "launch", "shell"};

// Starts programs that run at the same time, on a machine whose first call is as the fault says.
class HostBlocking : public ::testing::Test
{
protected:
    void Start(Arguments arguments, const std::string& fault, const Arguments& more,
               std::optional<std::string_view> input = "", unsigned long flags = 0)
    {
        m_names.push_back(arguments.front());
        const std::string ownName = std::to_string(m_names.size()) + ".json"; // others read theirs meanwhile
        std::ranges::replace(arguments, std::string{"request.json"}, m_folder.Write("request" + ownName, Request));
        std::ranges::replace(arguments, std::string{"recorded.json"}, (m_folder / ("recorded" + ownName)).string());
        std::string machine = EventMachine("");
        machine.insert(machine.size() - 1, R"(,"faults":[{"at":"IWbemLocator::ConnectServer",)" + fault + "}]");
        arguments.insert(arguments.end(), {"--simulate", m_folder.Write("machine" + ownName, machine)});
        arguments.insert(arguments.end(), more.begin(), more.end());
        m_programs.emplace_back(HostFolder() / "wmihost.exe", arguments, input, flags);
    }

    // Calls expect(name, outcome) for each program when it has ended.
    template <class Expect>
    void ForEachOutcome(Expect expect)
    {
        auto name = m_names.begin();
        for (const StartedProgram& program : m_programs)
        {
            SCOPED_TRACE(*name);
            expect(*name++, program.WaitForEnd());
        }
    }

    [[nodiscard]] const std::list<StartedProgram>& Programs() const noexcept { return m_programs; }

private:
    const TemporaryFolder m_folder;
    std::vector<std::string> m_names;
    std::list<StartedProgram> m_programs;
};

// The subcommand gives up when its call returns, and takes its session down.
TEST_F(HostBlocking, QuestionsThatTakeTooLongEndInGoodOrder)
{
    for (const Question& question : Questions)
    {
        Start(question.arguments, R"("delayMs":400,"status":"WBEM_E_FAILED")", {"--timeout", "0.25", "--time"});
    }
    ForEachOutcome([](const std::string& name, const Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 5) << outcome.error;
        EXPECT_NE(outcome.error.find("not done after 0.25 s (--timeout)\n"), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.error.find("not ended"), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.error.find("\nending  ") != std::string::npos, name != "record") << outcome.error;
    });
}

TEST_F(HostBlocking, QuestionsThatAreNeverAnsweredAreLeft)
{
    for (const Question& question : Questions)
    {
        Start(question.arguments, R"("hang":true)", {"--timeout", "0.5"});
    }
    ForEachOutcome([](const std::string& name, const Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 5) << name;
        EXPECT_TRUE(outcome.error.ends_with("not done after 0.5 s (--timeout); a call that hangs was left\n"))
            << outcome.error;
    });
}

TEST_F(HostBlocking, QuestionsEndWithCtrlC)
{
    for (const Question& question : Questions)
    {
        if (question.sign != nullptr)
        {
            Start(question.arguments, R"("hang":true)", {"--log", "info"}, "", CREATE_NO_WINDOW);
            Programs().back().WaitForError(question.sign);
            EXPECT_TRUE(PressCtrlC(Programs().back()));
        }
    }
    ForEachOutcome([](const std::string& name, const Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 6) << name;
        EXPECT_TRUE(outcome.error.ends_with("interrupted; a call that hangs was left\n")) << outcome.error;
    });
}

TEST_F(HostBlocking, InputThatNeverComesIsLeft)
{
    for (const Arguments& reader : Readers)
    {
        Start(reader, R"("call":1000)", {"--timeout", "0.5"}, std::nullopt);
    }
    ForEachOutcome([](const std::string& name, const Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 5) << name;
        EXPECT_TRUE(outcome.error.ends_with("not done after 0.5 s (--timeout); a call that hangs was left\n"))
            << outcome.error;
    });
}

TEST_F(HostBlocking, ALineThatNeverComesIsNotWaitedForAnyLonger)
{
    for (const Arguments& reader : LineReaders)
    {
        Start(reader, R"("call":1000)", {"--timeout", "0.5"}, std::nullopt);
    }
    ForEachOutcome([](const std::string& name, const Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 5) << name;
        EXPECT_TRUE(outcome.error.ends_with("not done after 0.5 s (--timeout)\n")) << outcome.error;
    });
}

TEST_F(HostBlocking, AChannelThatNobodyOpensIsNotWaitedForAnyLonger)
{
    const Outcome outcome = RunHost({"send", "nobody", "20", "--timeout", "0.5"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.error, "not done after 0.5 s (--timeout)\n");
}

TEST(HostBlockingTable, HasEverySubcommand)
{
    std::set<std::string> tried{Immediate};
    tried.insert("send");
    std::ranges::for_each(Questions, [&](const Question& question) { tried.insert(question.arguments.front()); });
    std::ranges::for_each(Readers, [&](const Arguments& reader) { tried.insert(reader.front()); });
    std::ranges::for_each(LineReaders, [&](const Arguments& reader) { tried.insert(reader.front()); });
    for (const std::string& command : Subcommands())
    {
        EXPECT_EQ(tried.count(command), 1U) << command << " can block, or cannot: the tables above should say so";
    }
}

} // namespace
} // namespace Zv::Testing
