// What Tab offers, by the question that the shells' scripts ask.
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

std::string Completed(const std::string& begin, const std::vector<std::string>& words)
{
    std::vector<std::string> arguments{"complete", "--"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    if (begin.empty())
    {
        arguments.insert(arguments.begin() + 1, "--new");
    }
    else
    {
        arguments.push_back(begin);
    }
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << begin;
    EXPECT_EQ(outcome.error, "") << begin;
    return outcome.output;
}

constexpr char Notebook[] = ZV_MACHINES "/notebook.json";

TEST(HostCompletion, KnowsWhatTheCommandLineDeclares)
{
    struct Case
    {
        const char* begin;
        std::vector<std::string> words;
        const char* completed;
    };
    const Case cases[] = {
        {"ex", {}, "explain\n"},
        {"EX", {}, "explain\n"},
        {"comple", {}, "completion\n"}, // and not the one that only scripts use
        {"--ke", {"shell"}, "--keep-going\n"},
        {"--simu", {"get"}, "--simulate\n"},
        {"--simu", {}, "--simulate\n"},
        {"w", {"get", "--log"}, "warning\n"},
        {"--log=", {}, "--log=info\n--log=warning\n--log=error\n"},
        {"", {"completion"}, "bash\npowershell\n"},
        {"", {"completion", "bash"}, ""},
        {"", {"--log", "info", "completion"}, "bash\npowershell\n"},
        {"GetWmiP", {"run"}, "GetWmiPropertyValue\nGetWmiPropertyValues\n"},
        {"", {"run", "16"}, ":files\n"},
        {"x", {"get", "--simulate"}, ":files\n"},
        {"", {"check"}, ":files\n"},
        {"0x8001", {"explain", "--json"}, "0x80010106\n0x80010119\n"},
        {"0x8001", {"explain", "--timeout"}, ""}, // which takes no code
        {"--x", {"get"}, ""},
        {"", {"fetch"}, ""},
        {"--all", {"get", "--", "x"}, ""},
        {"--log=x", {"fetch"}, ""},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(Completed(c.begin, c.words), c.completed)
            << c.begin << " behind " << ::testing::PrintToString(c.words);
    }
}

TEST(HostCompletion, NamesWhatHelpNames)
{
    EXPECT_EQ(RunHost({"complete", "--new"}).OutputLines(), Subcommands());

    const std::string help = RunHost({"--help"}).output;
    const Outcome options = RunHost({"complete", "--", "--"});
    EXPECT_GE(options.OutputLines().size(), 8U);
    for (const std::string& option : options.OutputLines())
    {
        EXPECT_NE(help.find(option), std::string::npos) << option;
    }
}

TEST(HostCompletion, NamesClassesAndPropertiesOfASimulatedMachine)
{
    EXPECT_EQ(Completed("win32_b", {"--simulate", Notebook, "get"}), "Win32_BIOS\nWin32_BaseBoard\nWin32_Battery\n");
    EXPECT_EQ(Completed("Prod", {"get", "Win32_BaseBoard", std::string{"--simulate="} + Notebook}), "Product\n");
    EXPECT_EQ(Completed("zvqBI", {"text", "--simulate", Notebook, "--namespace", "root\\wmi"}), "zvqBIntM\n");
}

// Wine cannot list its classes, yet it knows the properties of one.
TEST(HostCompletion, NamesPropertiesOfThisMachine)
{
    EXPECT_EQ(Completed("Serial", {"get", "Win32_BIOS"}), "SerialNumber\n");
    EXPECT_EQ(Completed("", {"get", "Win32_NoSuchClass"}), "");
    EXPECT_EQ(Completed("", {"get", "--namespace", "ROOT\\NONE"}), "");
}

TEST(HostCompletion, SaysNothingAboutAMachineThatCannotBeRead)
{
    const TemporaryFolder folder;
    EXPECT_EQ(Completed("", {"--simulate", "no such file", "get"}), "");
    EXPECT_EQ(Completed("", {"--simulate", folder.Write("machine.json", "{"), "get"}), "");
}

TEST(HostCompletion, DoesNotWaitForAMachineThatHangs)
{
    const TemporaryFolder folder;
    const std::string machine =
        folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[]}],)"
                                     R"("faults":[{"at":"IWbemServices::CreateClassEnum","from":1,"hang":true}]})");
    const ULONGLONG begin = GetTickCount64();
    EXPECT_EQ(Completed("", {"--simulate", machine, "get"}), "");
    EXPECT_LT(GetTickCount64() - begin,
              20'000U); // of which the program takes two seconds, and a busy computer the rest
}

TEST(HostCompletion, AnotherShellIsAMistake)
{
    const Outcome outcome = RunHost({"completion", "fish"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.error,
              "wmihost completion: SHELL: \"fish\" is neither bash nor powershell; see wmihost completion "
              "--help\n");
}

} // namespace
} // namespace Zv::Testing
