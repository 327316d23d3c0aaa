#include "Program.h"
#include "TemporaryFolder.h"

#include "Platform/Windows/Utf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace Zv::Testing
{
namespace
{

// A mistake on the command line: exit code 2, nothing on standard output, one line on standard error.
std::string MistakeOf(const std::vector<std::string>& arguments)
{
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1);
    return outcome.error;
}

TEST(HostCommandLine, HelpNamesSubcommandsAndExitCodes)
{
    const Outcome help = RunHost({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.error, "");
    for (const char* const text : {"--json", "--log", "--module", "--timeout", "Exit codes:", "\n  0 ", "\n  1 ",
                                   "\n  2 ", "\n  3 ", "\n  4 ", "\n  5 ", "\n  6 ", "\n  7 ", "\n  70 "})
    {
        EXPECT_NE(help.output.find(text), std::string::npos) << text;
    }
    const std::vector<std::string> subcommands = Subcommands();
    for (const std::string command : {"get", "text", "firmware", "set", "defaults", "run", "events", "send", "hotkeys",
                                      "package", "launch", "record", "check", "explain", "shell", "completion"})
    {
        EXPECT_TRUE(std::ranges::count(subcommands, command) == 1) << command;
    }
}

TEST(HostCommandLine, WithoutASubcommandIsAMistake)
{
    EXPECT_EQ(MistakeOf({}), "wmihost: a subcommand is missing; see wmihost --help\n");
}

TEST(HostCommandLine, AnUnknownSubcommandIsAMistakeThatNamesTheKnownOnes)
{
    const std::string line = MistakeOf({"fetch", "X"});
    EXPECT_EQ(line.rfind("there is no subcommand \"fetch\", only get, text, firmware, set, defaults, run", 0), 0U)
        << line;
}

TEST(HostCommandLine, AnEmptyArgumentIsNoSubcommand)
{
    EXPECT_EQ(MistakeOf({""}).rfind("there is no subcommand \"\"", 0), 0U);
}

TEST(HostCommandLine, AMissingArgumentIsNamed)
{
    EXPECT_EQ(MistakeOf({"get", "Win32_BIOS"}), "wmihost get: PROPERTY is required; see wmihost get --help\n");
}

TEST(HostCommandLine, AnArgumentTooManyIsNamed)
{
    EXPECT_EQ(MistakeOf({"text", "Win32_BIOS", "extra"}),
              "wmihost text: The following argument was not expected: extra; see wmihost text --help\n");
}

TEST(HostCommandLine, AnUnknownLogLevelIsAMistakeThatNamesTheKnownOnes)
{
    EXPECT_EQ(MistakeOf({"get", "Win32_BIOS", "Name", "--log", "loud"}),
              "wmihost get: --log: must be info, warning or error, not \"loud\"; see wmihost get --help\n");
}

TEST(HostCommandLine, AClassOrFilterThatTheModuleWouldCutIsAMistake)
{
    const std::string longest(1024, 'x');
    EXPECT_EQ(RunHost({"get", longest, "Name"}).exitCode, 1);
    EXPECT_NE(MistakeOf({"get", longest + "x", "Name"}).find("has 1025 characters, may have 1024"), std::string::npos);
    EXPECT_NE(MistakeOf({"get", "X", "Name", "--where", longest + "x"}).find("has 1025 characters, may have 1024"),
              std::string::npos);
}

TEST(HostCommandLine, ArgumentsKeepEveryCharacter)
{
    const Outcome outcome = RunHost({"get", "Kla\xc3\x9fse \xf0\x9f\x98\x80", "a\"b\\", "--namespace", "/no such\\"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "0x20000012: no such namespace: /no such\\\n");

    const Outcome where = RunHost({"get", "Kla\xc3\x9fse\xf0\x9f\x98\x80", "a\"b\\"});
    EXPECT_NE(where.error.find("Kla\xc3\x9fse\xf0\x9f\x98\x80.a\"b\\ in ROOT\\CIMV2"), std::string::npos)
        << where.error;
}

TEST(HostCommandLine, StarsAreNotReplacedByFileNames)
{
    EXPECT_EQ(MistakeOf({"*"}).rfind("there is no subcommand \"*\"", 0), 0U);
    EXPECT_EQ(MistakeOf({"?:\\*"}).rfind("there is no subcommand \"?:\\*\"", 0), 0U);
}

TEST(HostCommandLine, MistakesAreJsonForProgramsToo)
{
    const Outcome outcome = RunHost({"--json", "get", "X"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.output,
              "{\"error\":{\"message\":\"wmihost get: PROPERTY is required; see wmihost get --help\"}}\n");
}

TEST(HostModule, IsLoadedFromThePathThatIsGiven)
{
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder / L"Kopie \u00fc.dll";
    std::filesystem::copy_file(HostFolder() / "WMIService.dll", copy);
    const Outcome outcome =
        RunHost({"get", "Win32_OperatingSystem", "Caption", "--module", Zv::ToUtf8(copy.wstring())});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
}

TEST(HostModule, ThatIsNotThereGivesAnExitCodeOfItsOwn)
{
    const Outcome outcome = RunHost({"--module", "C:\\no\\module.dll", "get", "X", "Y"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error.rfind("cannot load the module C:\\no\\module.dll: ", 0), 0U) << outcome.error;
    EXPECT_NE(outcome.error.find("--module PATH"), std::string::npos);
}

TEST(HostModule, ThatIsAnotherLibraryIsRefused)
{
    const Outcome outcome = RunHost({"--module", "C:\\windows\\system32\\kernel32.dll", "get", "X", "Y"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_NE(outcome.error.find("kernel32.dll is not the module: it does not export ZVCreateService"),
              std::string::npos)
        << outcome.error;
}

} // namespace
} // namespace Zv::Testing
