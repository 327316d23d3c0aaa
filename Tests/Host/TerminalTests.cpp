// What people see: wmihost in a terminal.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Testing
{
namespace
{

// The states of a screen of that many columns while wmihost runs; the last is how it leaves it.
struct Seen
{
    std::vector<std::string> screens;
    std::string mode; // of the terminal, at the end

    [[nodiscard]] bool Ever(const std::string& text) const
    {
        return std::ranges::any_of(screens,
                                   [&](const std::string& screen) { return screen.find(text) != std::string::npos; });
    }
};

Seen RunInTerminal(int columns, std::vector<std::string> arguments,
                   const std::string& machine = ZV_MACHINES "/notebook.json")
{
    arguments.insert(arguments.begin(), {std::to_string(columns), (HostFolder() / "wmihost.exe").string()});
    arguments.insert(arguments.end(), {"--simulate", machine});
    const StartedProgram terminal{HostFolder().parent_path() / "tests" / "host" / "Terminal.exe", arguments, "",
                                  CREATE_NO_WINDOW};
    const Outcome outcome = terminal.WaitForEnd();
    Seen seen;
    for (const std::string& line : outcome.OutputLines())
    {
        if (line == "screen:")
        {
            seen.screens.emplace_back();
        }
        else if (line.starts_with("mode: "))
        {
            seen.mode = line;
        }
        else if (!seen.screens.empty())
        {
            seen.screens.back() += line + '\n';
        }
    }
    if (seen.screens.empty())
    {
        throw std::runtime_error{"there was no screen: " + outcome.output + outcome.error};
    }
    return seen;
}

// Sets a variable that programs inherit from here on, for its life.
class EnvironmentVariable
{
public:
    EnvironmentVariable(const char* name, const char* value) : m_name{name} { SetEnvironmentVariableA(name, value); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { SetEnvironmentVariableA(m_name, nullptr); }

private:
    const char* m_name;
};

const std::vector<std::string> Processes{"get",     "Win32_Process",      "Name", "ProcessId", "--all",
                                         "--where", "ParentProcessId = 0"};

TEST(HostTerminal, HasBoldHeadings)
{
    EXPECT_EQ(RunInTerminal(80, Processes).screens.back(), "<Name>                 <ProcessId>\n"
                                                           "System Idle Process  0\n"
                                                           "System               4\n\n");
}

TEST(HostTerminal, CutsATableThatIsTooWide)
{
    EXPECT_EQ(RunInTerminal(20, Processes).screens.back(), "<Name>      <ProcessId>\n"
                                                           "System \xE2\x80\xA6  0\n"
                                                           "System    4\n\n");
}

TEST(HostTerminal, HasNoColorsWhereItsUserWantsNone)
{
    const std::string plain = "Name                 ProcessId\nSystem Idle Process  0\nSystem               4\n\n";
    for (const auto& [name, value] : {std::pair{"NO_COLOR", "1"}, {"TERM", "dumb"}})
    {
        const EnvironmentVariable variable{name, value};
        EXPECT_EQ(RunInTerminal(80, Processes).screens.back(), plain) << name;
    }
    std::vector<std::string> never = Processes;
    never.insert(never.end(), {"--color", "never"});
    EXPECT_EQ(RunInTerminal(80, never).screens.back(), plain);
}

TEST(HostTerminal, IsLeftInItsMode)
{
    EXPECT_EQ(RunInTerminal(80, {"get", "Win32_BaseBoard", "Product"}).mode,
              RunInTerminal(80, {"get", "Win32_BaseBoard", "Product", "--color", "never"}).mode);
}

TEST(HostTerminal, ShowsErrorsInRed)
{
    EXPECT_EQ(RunInTerminal(80, {"get", "Win32_BIOS", "Foo"}).screens.back(),
              "<0x2000000d: no such property: Win32_BIOS.Foo in ROOT\\CIMV2>\n\n");
}

// A line that says what goes on comes after a second, and is gone before the result.
TEST(HostTerminal, ShowsProgressOfWhatTakesLong)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write(
        "machine.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[{"name":"Slow",)"
                        R"("properties":{"Name":"string"},"instances":[{"Name":"a"}]}]}],)"
                        R"("faults":[{"at":"IWbemServices::ExecQuery","delayMs":3000}]})");
    for (const std::vector<std::string>& command : {std::vector<std::string>{"get", "Slow", "Name"}, {"text", "Slow"}})
    {
        const Seen seen = RunInTerminal(80, command, machine);
        EXPECT_TRUE(seen.Ever("reading Slow: 1 s")) << command[0];
        EXPECT_TRUE(seen.Ever("reading Slow: 2 s")) << command[0];
        EXPECT_EQ(seen.screens.back().find("reading"), std::string::npos) << seen.screens.back();
        EXPECT_NE(seen.screens.back().find("a"), std::string::npos) << seen.screens.back();
    }
}

TEST(HostProgress, IsInNoPipe)
{
    const TemporaryFolder folder;
    const Outcome outcome = RunHost(
        {"get", "Win32_BaseBoard", "Product", "--simulate",
         folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[)"
                                      R"({"name":"Win32_BaseBoard","properties":{"Product":"string"},)"
                                      R"("instances":[{"Product":"x"}]}]}],)"
                                      R"("faults":[{"at":"IWbemServices::ExecQuery","delayMs":1500}]})")});
    EXPECT_EQ(outcome.output, "x\n");
    EXPECT_EQ(outcome.error, "");
}

} // namespace
} // namespace Zv::Testing
