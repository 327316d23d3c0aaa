// --json, --ndjson and --csv, and --color.
#include "Program.h"

#include "Host/Text/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

// Of all instances of Win32_Process that the notebook has without a parent.
const std::vector<std::string> Parentless{"get", "Win32_Process", "Name", "--all", "--where", "ParentProcessId = 0"};

std::vector<std::string> With(std::vector<std::string> arguments, const std::vector<std::string>& more)
{
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

// Good output: exit code 0, nothing on standard error.
std::string OutputOf(const std::vector<std::string>& arguments)
{
    const Outcome outcome = RunSimulated("notebook", arguments);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.error, "");
    return outcome.output;
}

// A refusal: its exit code, nothing on standard output, one line on standard error.
std::string RefusalOf(const std::vector<std::string>& arguments, int exitCode = 2)
{
    const Outcome outcome = RunSimulated("notebook", arguments);
    EXPECT_EQ(outcome.exitCode, exitCode);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(std::ranges::count(outcome.error, '\n'), 1);
    return outcome.error;
}

TEST(HostFormat, OfAListIsWhatWasAskedFor)
{
    EXPECT_EQ(OutputOf(Parentless), "System Idle Process\nSystem\n");
    EXPECT_EQ(OutputOf(With(Parentless, {"--json"})), "{\"result\":[\"System Idle Process\",\"System\"]}\n");
    EXPECT_EQ(OutputOf(With(Parentless, {"--ndjson"})), "{\"Name\":\"System Idle Process\"}\n{\"Name\":\"System\"}\n");
    EXPECT_EQ(OutputOf(With(Parentless, {"--csv"})), "Name\r\nSystem Idle Process\r\nSystem\r\n");
}

TEST(HostFormat, OfASingleValueIsAListOfOne)
{
    const std::vector<std::string> board{"get", "Win32_BaseBoard", "Product"};
    EXPECT_EQ(OutputOf(With(board, {"--ndjson"})), "{\"Product\":\"7C21\"}\n");
    EXPECT_EQ(OutputOf(With(board, {"--csv"})), "Product\r\n7C21\r\n");
}

TEST(HostFormat, OfTextsIsOneObjectForEachInstance)
{
    const std::string output = OutputOf({"text", "Win32_Process", "--ndjson"});
    EXPECT_GT(std::ranges::count(output, '\n'), 1);
    EXPECT_EQ(output.rfind("{\"text\":\"\\ninstance of Win32_Process", 0), 0U) << output;
}

TEST(HostFormat, ExcludesTheOthers)
{
    for (const std::vector<std::string>& both :
         {std::vector<std::string>{"--json", "--ndjson"}, {"--json", "--csv"}, {"--ndjson", "--csv"}})
    {
        const Outcome outcome = RunSimulated("notebook", With(Parentless, both));
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.error, "wmihost get: " + both[0] + " excludes " + both[1] + "; see wmihost get --help\n");
    }
}

TEST(HostFormat, ThatASubcommandDoesNotGiveIsRefusedWithThoseThatItGives)
{
    EXPECT_EQ(RefusalOf({"text", "Win32_BIOS", "--csv"}),
              "wmihost text: its output is text, --json or --ndjson, not --csv; see wmihost text --help\n");
    EXPECT_EQ(RefusalOf({"check", "x", "--csv"}),
              "wmihost check: its output is text or --json, not --csv; see wmihost check --help\n");
}

TEST(HostFormat, OfErrorsIsJsonWithLinesToo)
{
    const Outcome outcome = RunSimulated("notebook", {"get", "Win32_BIOS", "Foo", "--ndjson"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output.rfind("{\"error\":{\"code\":536870925,", 0), 0U) << outcome.output;
}

TEST(HostGetTable, HasAColumnForEachProperty)
{
    const std::vector<std::string> processes{"get",     "Win32_Process",      "Name", "ProcessId", "--all",
                                             "--where", "ParentProcessId = 0"};
    EXPECT_EQ(OutputOf(processes), "Name                 ProcessId\n"
                                   "System Idle Process  0\n"
                                   "System               4\n");
    EXPECT_EQ(OutputOf(With(processes, {"--csv"})), "Name,ProcessId\r\nSystem Idle Process,0\r\nSystem,4\r\n");
    EXPECT_EQ(OutputOf(With(processes, {"--ndjson"})),
              "{\"Name\":\"System Idle Process\",\"ProcessId\":0}\n{\"Name\":\"System\",\"ProcessId\":4}\n");
    EXPECT_EQ(OutputOf(With(processes, {"--json"})), "{\"result\":[{\"Name\":\"System Idle Process\",\"ProcessId\":0},"
                                                     "{\"Name\":\"System\",\"ProcessId\":4}]}\n");
}

TEST(HostGetTable, NeedsAllInstancesAndDifferentProperties)
{
    EXPECT_EQ(RefusalOf({"get", "Win32_Process", "Name", "ProcessId"}),
              "wmihost get: several properties need --all; see wmihost get --help\n");
    EXPECT_EQ(RefusalOf({"get", "Win32_Process", "Name", "Name", "--all"}),
              "wmihost get: the property Name is given twice; see wmihost get --help\n");
    EXPECT_EQ(RefusalOf({"get", "Win32_Process", "Name", "Foo", "--all"}, 1),
              "0x2000000d: no such property: Win32_Process.Foo in ROOT\\CIMV2\n");
}

// As many values in both columns, but not of the same instances.
TEST(HostGetTable, IsRefusedWhereAnInstanceLacksAValue)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write(
        "machine.json",
        R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[{"name":"Part",)"
        R"("properties":{"Id":{"type":"string","key":true},"Left":"string","Right":"string"},)"
        R"("instances":[{"Id":"1","Left":"a"},{"Id":"2","Right":"b"},{"Id":"3","Left":"c","Right":"d"}]}]}]})");
    const Outcome outcome = RunHost({"get", "Part", "Left", "Right", "--all", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.error;
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "Left has a value in 2 of 3 instances: which ones is not known; leave the others out with "
                             "--where, or ask for Left alone\n");
}

TEST(HostColor, IsInNoPipeUnlessItIsAskedFor)
{
    const std::vector<std::string> processes{"get", "Win32_Process", "Name", "ProcessId", "--all"};
    EXPECT_EQ(OutputOf(processes).find('\x1b'), std::string::npos);
    EXPECT_EQ(OutputOf(With(processes, {"--color", "auto"})).find('\x1b'), std::string::npos);
    EXPECT_EQ(OutputOf(With(processes, {"--color", "always"})).rfind("\x1b[1mName\x1b[0m", 0), 0U);
    EXPECT_EQ(OutputOf(With(processes, {"--color", "always", "--csv"})).find('\x1b'), std::string::npos);
}

TEST(HostColor, OfErrorsIsRedAndOfLogLinesThatOfTheirLevel)
{
    const Outcome outcome = RunSimulated("notebook", {"get", "Win32_BIOS", "Name", "--namespace", "ROOT\\NONE", "--log",
                                                      "warning", "--color", "always"});
    EXPECT_EQ(outcome.error.rfind("\x1b[33mwarning\x1b[0m [wmihost] class ", 0), 0U) << outcome.error;
    EXPECT_TRUE(outcome.error.ends_with("\n\x1b[31m0x20000012: no such namespace: ROOT\\NONE\x1b[0m\n"))
        << outcome.error;
    EXPECT_EQ(RefusalOf({"get", "X", "--color", "always"}),
              "\x1b[31mwmihost get: PROPERTY is required; see wmihost get --help\x1b[0m\n");
}

TEST(HostColor, ThatIsNoneIsAMistakeThatNamesTheKnownOnes)
{
    EXPECT_EQ(RefusalOf({"get", "X", "Y", "--color", "pink"}),
              "wmihost get: --color: must be auto, always or never, not \"pink\"; see wmihost get --help\n");
}

} // namespace
} // namespace Zv::Testing
