// wmihost check.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace Zv::Testing
{
namespace
{

TEST(HostCheck, SaysWhatIsInADescription)
{
    const Outcome outcome = RunHost({"check", ZV_MACHINES "/desktop.json"});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, ZV_MACHINES "/desktop.json is valid: Plain desktop; classes: 5, instances: 4, settings: "
                                          "0, packages: 0\n");

    EXPECT_EQ(RunHost({"check", ZV_MACHINES "/notebook.json", "--json"}).output,
              "{\"classes\":17,\"instances\":11,\"settings\":5,\"packages\":2,\"name\":\"Business notebook\"}\n");
}

TEST(HostCheck, FindsEveryMachineThatShipsValid)
{
    for (const auto& entry : std::filesystem::directory_iterator{u8"" ZV_MACHINES})
    {
        EXPECT_EQ(RunHost({"check", entry.path().string()}).exitCode, 0) << entry.path();
    }
}

TEST(HostCheck, ReadsStandardInput)
{
    const Outcome outcome =
        RunHost({"check", "-"}, "\xef\xbb\xbf{\"version\":1,\"name\":\"Gr\u00fc\u00dfe\",\"namespaces\":[]}");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, "- is valid: Gr\u00fc\u00dfe; classes: 0, instances: 0, settings: 0, packages: 0\n");
}

struct BadDescription
{
    const char* text;
    const char* error; // behind the file's name
};

// One of each kind; the reader's own tests have them all.
TEST(HostCheck, NamesLineColumnAndWhatWasExpected)
{
    const BadDescription descriptions[] = {
        {"", ": line 1, column 1: malformed JSON: "},
        {"{\"version\": 1,\n \"name\": ", ": line 2, column 10: malformed JSON: "},
        {"{\"name\": \"m\"}", ": line 1, column 2: expected \"version\": 1 as the first member\n"},
        {"{\"version\": 2}", ": line 1, column 13: expected version 1, found the number 2\n"},
        {"{\"version\": 1,\n  \"name\": \"m\"\n}",
         ": line 1, column 1: expected the key \"namespaces\" in this object\n"},
        {"{\"version\": 1, \"name\": \"m\", \"namespaces\": [\n{\"path\": \"root\\\\wmi\", \"classes\": [\n"
         "{\"name\": \"A\", \"properties\": {\"B\": \"uint33\"}}]}]}",
         ": line 3, column 35: expected a CIM type (string, boolean, "},
        {"{\"version\": 1, \"name\": \"m\", \"namespaces\": [\n{\"path\": \"root\\\\wmi\", \"classes\": [\n"
         "{\"name\": \"A\"},\n{\"name\": \"a\"}]}]}",
         ": line 4, column 10: expected a class name that this namespace does not have yet, found \"a\"\n"},
    };
    for (const BadDescription& description : descriptions)
    {
        const TemporaryFolder folder;
        const std::string file = folder.Write("machine.json", description.text);
        const Outcome outcome = RunHost({"check", file});
        EXPECT_EQ(outcome.exitCode, 2) << description.text;
        EXPECT_EQ(outcome.output, "") << description.text;
        EXPECT_EQ(outcome.error.rfind(file + description.error, 0), 0U) << outcome.error;
        EXPECT_EQ(outcome.error.find('\n'), outcome.error.size() - 1) << outcome.error;
    }
}

TEST(HostCheck, GivesLineAndColumnAsNumbersToPrograms)
{
    const Outcome outcome = RunHost({"check", "-", "--json"}, "{\"version\": 2}");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.output,
              "{\"error\":{\"message\":\"-: line 1, column 13: expected version 1, found the number 2\","
              "\"line\":1,\"column\":13}}\n");
}

TEST(HostCheck, CannotReadAFileThatIsNotThere)
{
    const Outcome outcome = RunHost({"check", "no-such-machine.json"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.error.rfind("cannot read no-such-machine.json: ", 0), 0U) << outcome.error;
    EXPECT_EQ(RunHost({"check"}).error, "wmihost check: FILE is required; see wmihost check --help\n");
}

} // namespace
} // namespace Zv::Testing
