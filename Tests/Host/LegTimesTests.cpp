// --time.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Host/Text/Json.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Names = std::vector<std::string>;

// The names of the table that follows the line "leg  milliseconds", each with a number behind it.
Names LegsOf(const std::string& error)
{
    Names names;
    std::size_t begin = error.find("leg ");
    begin = error.find('\n', begin);
    while (begin != std::string::npos && begin + 1 < error.size())
    {
        const std::size_t end = error.find('\n', begin + 1);
        const std::string line = error.substr(begin + 1, end - begin - 1);
        const std::size_t gap = line.find("  ");
        EXPECT_GE(std::stod(line.substr(gap)), 0.0) << line;
        names.push_back(line.substr(0, gap));
        begin = end;
    }
    return names;
}

TEST(HostTime, SaysOnStandardErrorWhatEachLegTook)
{
    const Outcome outcome = RunSimulated("notebook", {"get", "Win32_BaseBoard", "Product", "--time"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "7C21\n");
    EXPECT_EQ(LegsOf(outcome.error),
              (Names{"loading the module", "starting the session", "command 16", "ending", "whole"}))
        << outcome.error;
}

TEST(HostTime, HasALegForEachCommand)
{
    const Outcome outcome = RunSimulated("notebook", {"get", "Win32_Process", "Name", "ProcessId", "--all", "--time"});
    EXPECT_EQ(LegsOf(outcome.error), (Names{"loading the module", "starting the session", "command 32", "command 32",
                                            "command 32", "ending", "whole"}))
        << outcome.error;
}

TEST(HostTime, IsALineOfJsonForPrograms)
{
    const Outcome outcome = RunSimulated("notebook", {"get", "Win32_BaseBoard", "Product", "--time", "--json"});
    EXPECT_EQ(outcome.output, "{\"result\":\"7C21\"}\n");
    Host::JsonDocument document;
    document.Parse(outcome.error.data(), outcome.error.size());
    ASSERT_TRUE(document.IsObject() && document.HasMember("time")) << outcome.error;
    double sum = 0;
    for (const Host::JsonValue& leg : document["time"].GetArray())
    {
        ASSERT_TRUE(leg["milliseconds"].IsNumber()) << outcome.error;
        sum += std::string{leg["leg"].GetString()} != "whole" ? leg["milliseconds"].GetDouble() : 0;
    }
    const Host::JsonValue& last = document["time"].GetArray()[document["time"].Size() - 1];
    EXPECT_STREQ(last["leg"].GetString(), "whole");
    EXPECT_LE(sum, last["milliseconds"].GetDouble());
}

TEST(HostTime, FollowsTheErrorOfACommandThatFailed)
{
    const Outcome outcome = RunSimulated("notebook", {"get", "Win32_BIOS", "Foo", "--time"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error.rfind("0x2000000d: no such property: Win32_BIOS.Foo in ROOT\\CIMV2\nleg ", 0), 0U)
        << outcome.error;
    EXPECT_EQ(LegsOf(outcome.error).back(), "whole");
}

TEST(HostTime, NamesTheLegThatHangs)
{
    const TemporaryFolder folder;
    const Outcome outcome = RunHost({"get", "Win32_BIOS", "Name", "--time", "--timeout", "0.5", "--simulate",
                                     folder.Write("machine.json", HangingMachine())});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(LegsOf(outcome.error),
              (Names{"loading the module", "starting the session", "command 16, not ended", "whole"}))
        << outcome.error;
}

TEST(HostTime, OfASubcommandThatNeedsNoModuleIsTheWhole)
{
    EXPECT_EQ(LegsOf(RunHost({"explain", "0", "--time"}).error), Names{"whole"});
}

} // namespace
} // namespace Zv::Testing
