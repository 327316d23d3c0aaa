#include "Program.h"

#include "Host/Text/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Zv::Testing
{
namespace
{

// A result code: exit code 1, nothing on standard output, one line on standard error.
std::string ErrorOf(const std::vector<std::string>& arguments)
{
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
    return outcome.error;
}

TEST(HostGet, PrintsATextAsItIs)
{
    const Outcome outcome = RunHost({"get", "Win32_Process", "Name", "--where", "Name = 'services.exe'"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "services.exe\n");
    EXPECT_EQ(outcome.error, "");
}

TEST(HostGet, PrintsTypedJsonForPrograms)
{
    EXPECT_EQ(RunHost({"get", "Win32_Process", "Name", "--where", "Name = 'services.exe'", "--json"}).output,
              "{\"result\":\"services.exe\"}\n");

    const Outcome number = RunHost({"--json", "get", "Win32_Process", "ProcessId", "--where", "Name = 'services.exe'"});
    Host::JsonDocument document;
    document.Parse(number.output.data(), number.output.size());
    ASSERT_TRUE(document.IsObject() && document.HasMember("result")) << number.output;
    EXPECT_TRUE(document["result"].IsInt()) << number.output;
}

TEST(HostGet, PrintsAllInstancesOnePerLine)
{
    const Outcome outcome = RunHost({"get", "Win32_Process", "Name", "--all"});
    EXPECT_EQ(outcome.exitCode, 0);
    const std::vector<std::string> names = outcome.OutputLines();
    EXPECT_GE(names.size(), 3U);
    EXPECT_NE(std::find(names.begin(), names.end(), "wmihost.exe"), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), "services.exe"), names.end());
}

TEST(HostGet, PrintsAllInstancesAsAJsonArray)
{
    const Outcome outcome =
        RunHost({"get", "Win32_Process", "Name", "--all", "--json", "--where", "Name = 'services.exe'"});
    EXPECT_EQ(outcome.output, "{\"result\":[\"services.exe\"]}\n");
}

TEST(HostGet, TakesAnotherNamespace)
{
    EXPECT_EQ(RunHost({"get", "Win32_Process", "Name", "--namespace", "\\\\.\\root\\cimv2", "--where",
                       "Name = 'services.exe'"})
                  .output,
              "services.exe\n");
}

TEST(HostGet, NamesAPropertyThatIsNotThere)
{
    EXPECT_EQ(ErrorOf({"get", "Win32_BIOS", "Foo"}), "0x2000000d: no such property: Win32_BIOS.Foo in ROOT\\CIMV2\n");
}

TEST(HostGet, NamesANamespaceThatIsNotThere)
{
    EXPECT_EQ(ErrorOf({"get", "Win32_BIOS", "Name", "--namespace", "ROOT\\NONE"}),
              "0x20000012: no such namespace: ROOT\\NONE\n");
}

TEST(HostGet, SaysSoWhenNothingIsFound)
{
    EXPECT_EQ(ErrorOf({"get", "Win32_Process", "Name", "--where", "Name = 'none'"}),
              "0x20000002: failed, or nothing found: Win32_Process.Name in ROOT\\CIMV2 where Name = 'none'\n");
}

// Wine reports a bad filter from the query already, for which the module has no code of its own; Windows reports it
// from the first fetch.
TEST(HostGet, NamesABadFilter)
{
    const std::string error = ErrorOf({"get", "Win32_BIOS", "Name", "--where", "x = = y"});
    const std::string wine = "0x20000002: failed: Win32_BIOS.Name in ROOT\\CIMV2 where x = = y: "
                             "IWbemServices->ExecQuery gave 0x80041017 (not a valid query)\n";
    const std::string windows = "0x20000010: not a valid query: SELECT * FROM Win32_BIOS WHERE x = = y\n";
    EXPECT_TRUE(error == wine || error == windows) << error;
}

// Wine finds nothing in a class that does not exist, Windows reports it.
TEST(HostGet, NamesAClassThatIsNotThere)
{
    const std::string error = ErrorOf({"get", "Win32_Foo", "Name"});
    const std::string wine = "0x20000002: failed, or nothing found: Win32_Foo.Name in ROOT\\CIMV2\n";
    const std::string windows = "0x2000000f: no such class: Win32_Foo in ROOT\\CIMV2\n";
    EXPECT_TRUE(error == wine || error == windows) << error;
}

TEST(HostGet, NamesAnEmptyClass)
{
    EXPECT_EQ(ErrorOf({"get", "", "Name"}), "0x2000000e: no class given\n");
}

TEST(HostGet, GivesErrorsAsJsonForProgramsToo)
{
    const Outcome outcome = RunHost({"get", "Win32_BIOS", "Foo", "--json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "0x2000000d: no such property: Win32_BIOS.Foo in ROOT\\CIMV2\n");
    EXPECT_EQ(outcome.output,
              "{\"error\":{\"code\":536870925,\"hex\":\"0x2000000d\",\"name\":\"PropertyNotFound\",\"message\":"
              "\"0x2000000d: no such property: Win32_BIOS.Foo in ROOT\\\\CIMV2\"}}\n");
}

TEST(HostText, PrintsTheTextOfEachInstance)
{
    const Outcome outcome = RunHost({"text", "Win32_Process", "--where", "Name = 'services.exe'"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output.rfind("instance of Win32_Process\n{\n", 0), 0U) << outcome.output;
    EXPECT_NE(outcome.output.find("Name = \"services.exe\";"), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.output.substr(outcome.output.size() - 4), "\n};\n") << outcome.output;
    EXPECT_EQ(outcome.output.find('\r'), std::string::npos);
}

TEST(HostText, PrintsTheTextsAsJsonForPrograms)
{
    const Outcome outcome = RunHost({"text", "Win32_BIOS", "--json"});
    Host::JsonDocument document;
    document.Parse(outcome.output.data(), outcome.output.size());
    ASSERT_TRUE(document.IsObject() && document.HasMember("result")) << outcome.output;
    ASSERT_TRUE(document["result"].IsArray());
    ASSERT_EQ(document["result"].Size(), 1U);
    EXPECT_NE(std::string{document["result"][0].GetString()}.find("instance of Win32_BIOS"), std::string::npos);
}

TEST(HostText, NamesANamespaceThatIsNotThere)
{
    EXPECT_EQ(ErrorOf({"text", "Win32_BIOS", "--namespace", "ROOT\\NONE"}),
              "0x20000012: no such namespace: ROOT\\NONE\n");
}

TEST(HostLog, ShowsTheModulesLinesOfTheLevelOnStandardError)
{
    const Outcome outcome = RunHost({"get", "Win32_BIOS", "Name", "--namespace", "ROOT\\NONE", "--log", "warning"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(
        outcome.error.find("warning [wmihost] class Zv::Tessel::Server::Shared::WMI::PublicWmi.ConnectToWmi - "
                           "failed on function IWbemLocator->ConnectServer(WmiNamespace) with HRESULT 0x8004100e\n"
                           "0x20000012: no such namespace: ROOT\\NONE\n"),
        std::string::npos)
        << outcome.error;
}

TEST(HostLog, LeavesOutLowerLevels)
{
    const Outcome outcome = RunHost({"get", "Win32_BIOS", "Name", "--namespace", "ROOT\\NONE", "--log", "error"});
    EXPECT_EQ(outcome.error, "0x20000012: no such namespace: ROOT\\NONE\n");
}

} // namespace
} // namespace Zv::Testing
