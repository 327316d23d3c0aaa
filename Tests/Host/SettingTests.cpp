// wmihost set and defaults, on simulated machines.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

constexpr char Password[] = "Winter-2024";

Outcome RunOnNotebook(std::vector<std::string> arguments, std::string_view input = {})
{
    return RunSimulated("notebook", std::move(arguments), input);
}

TEST(HostSet, ChangesASettingWithTheRightPassword)
{
    const Outcome outcome = RunOnNotebook({"set", "Fast Boot", "Disable", "--password", Password});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "Fast Boot is set\n");
}

struct Refusal
{
    std::vector<std::string> arguments;
    const char* error;
};

TEST(HostSet, PassesTheFirmwaresVerdictOn)
{
    const Refusal refusals[] = {
        {{"set", "Fast Boot", "Disable"}, "the firmware refused to change Fast Boot: it returned 6\n"},
        {{"set", "Fast Boot", "Disable", "--password", ""},
         "the firmware refused to change Fast Boot: it returned 6\n"},
        {{"set", "Fast Boot", "Disable", "--password", "winter-2024"},
         "the firmware refused to change Fast Boot: it returned 6\n"},
        {{"set", "Fast Boot", "Sometimes", "--password", Password},
         "the firmware refused to change Fast Boot: it returned 5\n"},
        {{"set", "Colour", "Red", "--password", Password}, "the firmware refused to change Colour: it returned 1\n"},
    };
    for (const Refusal& refusal : refusals)
    {
        const Outcome outcome = RunOnNotebook(refusal.arguments);
        EXPECT_EQ(outcome.exitCode, 7) << refusal.error;
        EXPECT_EQ(outcome.output, "") << refusal.error;
        EXPECT_EQ(outcome.error, refusal.error);
    }
}

TEST(HostSet, PrintsTheModulesResponseForPrograms)
{
    EXPECT_EQ(RunOnNotebook({"set", "Fast Boot", "Disable", "--password", Password, "--json"}).output,
              "{\"result\":0}\n");

    const Outcome refused = RunOnNotebook({"set", "Fast Boot", "Disable", "--password", "wrong", "--json"});
    EXPECT_EQ(refused.exitCode, 7);
    EXPECT_EQ(refused.output, "{\"result\":6}\n");
    EXPECT_EQ(refused.error, "the firmware refused to change Fast Boot: it returned 6\n");
}

TEST(HostSet, TakesThePasswordFromTheFirstLineOfStandardInput)
{
    for (const char* const input : {"Winter-2024", "Winter-2024\n", "Winter-2024\r\nsecond line\n"})
    {
        const Outcome outcome = RunOnNotebook({"set", "Fast Boot", "Disable", "--password", "-"}, input);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
        EXPECT_EQ(outcome.output, "Fast Boot is set\n");
        EXPECT_EQ(outcome.error, "");
    }
    EXPECT_EQ(RunOnNotebook({"set", "Fast Boot", "Disable", "--password", "-"}, "\nWinter-2024\n").exitCode, 7);
}

TEST(HostSet, CannotTakeAPasswordFromAnEmptyInputOrFromOtherBytes)
{
    EXPECT_EQ(RunOnNotebook({"set", "Fast Boot", "Disable", "--password", "-"}).error,
              "no password came from standard input; --password - takes its first line\n");
    const Outcome binary = RunOnNotebook({"set", "Fast Boot", "Disable", "--password", "-"}, "secret\xff\n");
    EXPECT_EQ(binary.exitCode, 2);
    EXPECT_EQ(binary.error, "standard input is not text in UTF-8\n");
}

TEST(HostSet, TakesAnyCharacters)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[
        {"path":"root\\ZV\\InstrumentedBIOS","classes":[{"name":"ZVBIOS_BIOSSettingInterface",
         "properties":{"InstanceName":{"type":"string","key":true}},
         "methods":{"SetBIOSSetting":{"in":{"Name":"string","Value":"string","Password":"string"},
                                      "out":{"Return":"uint32"},"does":"setSetting"}},
         "instances":[{"InstanceName":"0"}]}]}],
        "settings":{"password":"p\"\\ü","items":[{"name":"Größe \"\\","value":"-"}]}})");
    const Outcome outcome = RunHost({"set", "Größe \"\\", "x\"\\😀", "--password", "p\"\\ü", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, "Größe \"\\ is set\n");
}

TEST(HostSet, LetsTheModuleJudgeEmptyNamesAndValues)
{
    EXPECT_EQ(RunOnNotebook({"set", "", "x"}).error, "0x20000014: no setting name given\n");
    const Outcome outcome = RunOnNotebook({"set", "Fast Boot", ""});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "0x20000015: no setting value given: Fast Boot\n");
}

TEST(HostSet, SurvivesVerdictsThatAreNone)
{
    EXPECT_EQ(RunSimulated("misbehaving", {"set", "Digits", "x"}).error,
              "the firmware refused to change Digits: it returned 3221225506\n");
    for (const char* const name : {"Text", "Nothing"})
    {
        const Outcome outcome = RunSimulated("misbehaving", {"set", name, "x"});
        EXPECT_EQ(outcome.exitCode, 1) << name;
        EXPECT_EQ(outcome.output, "") << name;
        EXPECT_EQ(outcome.error, std::string{"0x20000002: failed, or nothing found: "} + name + '\n');
    }
    EXPECT_EQ(RunSimulated("misbehaving", {"set", "Other", "x"}).error,
              "0x20000002: failed: Other: IWbemServices->ExecMethod gave 0x80041003 (access denied)\n");
}

TEST(HostDefaults, RestoresThemOnceAsked)
{
    for (const char* const answer : {"y\n", "Y\r\n", "yes\n", "y"})
    {
        const Outcome outcome = RunOnNotebook({"defaults", "--password", Password}, answer);
        EXPECT_EQ(outcome.exitCode, 0) << answer;
        EXPECT_EQ(outcome.output, "the firmware's defaults are restored\n") << answer;
        EXPECT_EQ(outcome.error, "Restore the firmware's defaults? All settings of this machine will change. [y/N] ")
            << answer;
    }
}

TEST(HostDefaults, ChangesNothingWithoutAYes)
{
    for (const char* const answer : {"", "\n", "n\n", "no\n", "yy\n", " \ny\n"})
    {
        const Outcome outcome = RunOnNotebook({"defaults", "--password", Password}, answer);
        EXPECT_EQ(outcome.exitCode, 2) << answer;
        EXPECT_EQ(outcome.output, "") << answer;
        EXPECT_NE(outcome.error.find("nothing was changed: the answer was not y, which --yes gives at once\n"),
                  std::string::npos)
            << outcome.error;
    }
}

TEST(HostDefaults, AreRestoredUnaskedWithYes)
{
    const Outcome outcome = RunOnNotebook({"defaults", "--yes", "--password", "-"}, "Winter-2024\n");
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "the firmware's defaults are restored\n");

    EXPECT_EQ(RunOnNotebook({"defaults", "--yes", "--password", Password, "--json"}).output, "{\"result\":0}\n");
}

TEST(HostDefaults, PassTheFirmwaresVerdictOn)
{
    const Outcome outcome = RunOnNotebook({"defaults", "--yes"});
    EXPECT_EQ(outcome.exitCode, 7);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "the firmware refused to change the firmware's defaults: it returned 6\n");

    EXPECT_EQ(RunSimulated("misbehaving", {"defaults", "--yes"}).error,
              "the firmware refused to change the firmware's defaults: it returned 4294967295\n");
}

TEST(HostDefaults, CannotAskWhereStandardInputGivesThePassword)
{
    const Outcome outcome = RunOnNotebook({"defaults", "--password", "-"}, "Winter-2024\n");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "wmihost defaults: standard input gives the password, so that nobody can be asked: add "
                             "--yes; see wmihost defaults --help\n");
}

TEST(HostSettings, ThatAMachineLacksAreNamedInPlainWords)
{
    constexpr char absent[] = ": this machine's firmware does not offer its settings: WMI has no class "
                              "ZVBIOS_BIOSSettingInterface with an instance in ROOT\\ZV\\InstrumentedBIOS\n";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"set", "Fast Boot", "Disable"}, {"defaults", "--yes"}})
    {
        const Outcome desktop = RunSimulated("desktop", arguments);
        EXPECT_EQ(desktop.exitCode, 1);
        EXPECT_EQ(desktop.output, "");
        EXPECT_EQ(desktop.error, std::string{"0x20000012"} + absent);

        // The system's own WMI: a machine of another maker.
        EXPECT_EQ(RunHost(arguments).error, std::string{"0x20000012"} + absent);
    }

    const TemporaryFolder folder;
    const std::string withoutClass = folder.Write(
        "a.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\ZV\\InstrumentedBIOS","classes":[]}]})");
    EXPECT_EQ(RunHost({"defaults", "--yes", "--simulate", withoutClass}).error, std::string{"0x20000002"} + absent);
    const std::string withoutInstance =
        folder.Write("b.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\ZV\\InstrumentedBIOS","classes":[
                     {"name":"ZVBIOS_BIOSSettingInterface"}]}]})");
    EXPECT_EQ(RunHost({"defaults", "--yes", "--simulate", withoutInstance}).error, std::string{"0x20000002"} + absent);
}

constexpr char Secret[] = "Hush-4711";

void ExpectSilence(const std::string& machine, std::vector<std::string> commandLine)
{
    commandLine.insert(commandLine.end(), {"--json", "--log", "info"});
    const Outcome outcome = RunSimulated(machine, commandLine, std::string{Secret} + '\n');
    EXPECT_EQ(outcome.output.find(Secret), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.error.find(Secret), std::string::npos) << outcome.error;
    EXPECT_NE(outcome.exitCode, 0) << outcome.output;
}

TEST(HostSettings, NeverShowAPassword)
{
    const std::string secret = Secret;
    const std::vector<std::vector<std::string>> commandLines = {
        {"set", "Fast Boot", "Disable", "--password", secret},
        {"set", "Fast Boot", "Disable", "--password=" + secret},
        {"set", "Setup Password", secret, "--password", secret},
        {"set", "", secret, "--password", secret},
        {"set", "Fast Boot", "", "--password", secret},
        {"set", "Fast Boot", "Disable", "--password", "-"},
        {"defaults", "--yes", "--password", secret},
        {"defaults", "--yes", "--password", "-"},
        {"defaults", "--password", secret},
    };
    for (const std::vector<std::string>& commandLine : commandLines)
    {
        ExpectSilence("notebook", commandLine);
        ExpectSilence("misbehaving", commandLine);
    }
    ExpectSilence("desktop", commandLines.front());
}

TEST(HostSettings, NeverShowAPasswordThatStandsInAWrongPlace)
{
    const std::string secret = Secret;
    const std::vector<std::vector<std::string>> commandLines = {
        {"set", "Fast Boot", "Disable", secret},
        {"set", "Fast Boot", "Disable", "--password", secret, secret},
        {"set", "Fast Boot", "Disable", "--pasword", secret},
        {"set", "Fast Boot", "Disable", "--pasword=" + secret},
        {"set", "Fast Boot", "--password", secret},
        {"set", "Fast Boot", "Disable", "--password", secret, "--password", secret},
        {"defaults", secret},
        {"defaults", "--yes", "--pasword", secret, secret},
        {"defaults", "--yes=" + secret},
        {"--password", secret, "defaults", "--yes"},
        {"--password", secret},
        {"defaults", "--password", "-"},
    };
    for (const std::vector<std::string>& commandLine : commandLines)
    {
        ExpectSilence("notebook", commandLine);
    }
}

TEST(HostSettings, NeedAPasswordBehindItsOption)
{
    EXPECT_EQ(RunHost({"defaults", "--password"}).error,
              "wmihost defaults: --password: 1 required TEXT|- missing; see wmihost defaults --help\n");
}

TEST(HostSettings, NameEachMistakeInOneLine)
{
    const Refusal mistakes[] = {
        {{"set"}, "wmihost set: NAME is required; see wmihost set --help\n"},
        {{"set", "Fast Boot"}, "wmihost set: VALUE is required; see wmihost set --help\n"},
        {{"set", "Fast Boot", "Disable", "x"},
         "wmihost set: an argument was not expected; it is not shown, since it may be a password; see wmihost set "
         "--help\n"},
        {{"defaults", "--pasword", "x"},
         "wmihost defaults: The following argument was not expected: --pasword; see wmihost defaults --help\n"},
        {{"defaults", "--yes=maybe"}, "wmihost defaults: a flag takes no value; see wmihost defaults --help\n"},
    };
    for (const Refusal& mistake : mistakes)
    {
        const Outcome outcome = RunOnNotebook(mistake.arguments);
        EXPECT_EQ(outcome.exitCode, 2) << mistake.error;
        EXPECT_EQ(outcome.output, "") << mistake.error;
        EXPECT_EQ(outcome.error, mistake.error);
    }
}

} // namespace
} // namespace Zv::Testing
