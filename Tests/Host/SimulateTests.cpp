#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

Outcome RunOnNotebook(std::vector<std::string> arguments, std::string_view input = {})
{
    return RunSimulated("notebook", std::move(arguments), input);
}

TEST(HostSimulate, ReadsTheSimulatedMachine)
{
    const Outcome outcome = RunOnNotebook({"get", "Win32_BaseBoard", "Product"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "7C21\n");
    EXPECT_EQ(outcome.error, "");
}

TEST(HostSimulate, PrintsAnArrayWithCommasOrAsJson)
{
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "BIOSVersion"}).output,
              "ZVQOEM - 1072009, N17 Ver. 01.04.00, Zv - 10400\n");
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "BIOSVersion", "--json"}).output,
              "{\"result\":[\"ZVQOEM - 1072009\",\"N17 Ver. 01.04.00\",\"Zv - 10400\"]}\n");
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "BIOSVersion", "--all"}).output,
              "ZVQOEM - 1072009, N17 Ver. 01.04.00, Zv - 10400\n");
}

TEST(HostSimulate, PrintsTruthValuesAsWords)
{
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "PrimaryBIOS"}).output, "true\n");
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "PrimaryBIOS", "--json"}).output, "{\"result\":true}\n");
}

// Reported from the first fetch, as real WMI does.
TEST(HostSimulate, NamesWhatIsNotThere)
{
    EXPECT_EQ(RunOnNotebook({"get", "Win32_Foo", "Name"}).error,
              "0x2000000f: no such class: Win32_Foo in ROOT\\CIMV2\n");
    EXPECT_EQ(RunOnNotebook({"text", "Win32_Foo"}).error, "0x2000000f: no such class: Win32_Foo in ROOT\\CIMV2\n");
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "Foo"}).error,
              "0x2000000d: no such property: Win32_BIOS.Foo in ROOT\\CIMV2\n");
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "Name", "--namespace", "ROOT\\NONE"}).error,
              "0x20000012: no such namespace: ROOT\\NONE\n");
    EXPECT_EQ(RunOnNotebook({"get", "Win32_BIOS", "Name", "--where", "x = = y"}).error,
              "0x20000010: not a valid query: SELECT * FROM Win32_BIOS WHERE x = = y\n");
}

TEST(HostSimulate, RunsFirmwareCommands)
{
    const std::string settingRequest = R"({"name":"Fast Boot","value":"Disable","password":"wrong"})";
    const Outcome setting = RunOnNotebook({"run", "SetBiosSetting", "-"}, settingRequest);
    EXPECT_EQ(setting.exitCode, 0) << setting.error;
    EXPECT_EQ(setting.output, "{\"result\":6}\n");

    const std::string commandRequest = R"({"command":1,"commandType":2,"inputDataSize":0,"returnDataSize":4})";
    const Outcome command = RunOnNotebook({"run", "2", "-"}, commandRequest);
    EXPECT_EQ(command.exitCode, 0) << command.error;
    EXPECT_EQ(command.output.rfind("{\"result\":{\"returnCode\":", 0), 0U) << command.output;
}

TEST(HostSimulate, ADescriptionThatIsNotThereCannotBeRead)
{
    const Outcome outcome = RunHost({"get", "X", "Y", "--simulate", "no-such-machine.json"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.error.rfind("cannot read no-such-machine.json: ", 0), 0U) << outcome.error;
}

TEST(HostSimulate, ADescriptionWithAMistakeIsBadInputWithLineAndColumn)
{
    const TemporaryFolder folder;
    const std::string file = folder.Write("machine.json", "{\n  \"version\": 1,\n  \"colour\": \"red\"\n}\n");
    const Outcome outcome = RunHost({"get", "X", "Y", "--simulate", file});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.error.rfind(file + ": line 3, column ", 0), 0U) << outcome.error;
    EXPECT_NE(outcome.error.find("colour"), std::string::npos) << outcome.error;
}

} // namespace
} // namespace Zv::Testing
