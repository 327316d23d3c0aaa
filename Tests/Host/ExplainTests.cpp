// wmihost explain.
#include "Program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Zv::Testing
{
namespace
{

TEST(HostExplain, SaysWhatACodeOfTheModuleMeansAndWhatToDo)
{
    const Outcome outcome = RunHost({"explain", "0x2000000f"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, "0x2000000f  ClassInvalid: no such class\n"
                              "  Likely: The namespace has no class of this name; firmware classes exist only on the "
                              "maker's machines.\n"
                              "  To do:  Check the spelling and the namespace.\n");
}

TEST(HostExplain, KnowsTheStatusCodesOfWmiInDecimalToo)
{
    const std::string hexadecimal = RunHost({"explain", "0x8004100e"}).output;
    EXPECT_EQ(hexadecimal.rfind("0x8004100e  WBEM_E_INVALID_NAMESPACE: no such namespace\n  To do:  ", 0), 0U);
    EXPECT_EQ(RunHost({"explain", "2147749902"}).output, hexadecimal);
}

TEST(HostExplain, GivesJson)
{
    EXPECT_EQ(RunHost({"explain", "0x80010119", "--json"}).output,
              "{\"code\":\"0x80010119\",\"name\":\"RPC_E_TOO_LATE\",\"meaning\":\"COM security is already set in this "
              "process\",\"causes\":\"\",\"advice\":\"Nothing: the host has set its own.\"}\n");
}

TEST(HostExplain, ListsAllWithoutACode)
{
    const Outcome outcome = RunHost({"explain"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output.rfind("0x00000000  Success: success\n0x20000001  UnsupportedFunction: ", 0), 0U);
    EXPECT_GT(std::ranges::count(outcome.output, '\n'), 40);
}

TEST(HostExplain, SaysWhatIsWrongWithACodeThatItCannotExplain)
{
    const Outcome unknown = RunHost({"explain", "7"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.error.rfind("0x00000007 is no code of the module", 0), 0U);
    const Outcome garbage = RunHost({"explain", "x"});
    EXPECT_EQ(garbage.exitCode, 2);
    EXPECT_EQ(garbage.error, "\"x\" is neither a code like 0x2000000f nor in a line that the module logs; wmihost "
                             "explain lists those\n");
}

TEST(HostExplain, ExplainsALineOfTheLogAndTheStatusThatItEndsWith)
{
    const Outcome outcome =
        RunHost({"explain", "warning [wmihost] class Zv::Tessel::Server::Shared::WMI::PublicWmi.ConnectToWmi - failed "
                            "on function IWbemLocator->ConnectServer(WmiNamespace) with HRESULT 0x8004100e"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output,
              "warning  failed on function IWbemLocator->ConnectServer(WmiNamespace) with HRESULT 0x{hresult}\n"
              "  By:     PublicWmi.ConnectToWmi, ZVBiosWmi.GetReady, BiosWmiEvent.SetupSink\n"
              "  Likely: The namespace cannot be reached: 0x8004100e, it does not exist; 0x80041003, no rights.\n"
              "  To do:  Check the spelling, or run as administrator or as a service.\n"
              "0x8004100e  WBEM_E_INVALID_NAMESPACE: no such namespace\n"
              "  To do:  Check the spelling, with single backslashes: ROOT\\CIMV2.\n");
}

TEST(HostExplain, TellsLinesOfTheSameTextApartByTheirClass)
{
    const std::string output =
        RunHost({"explain", "class Zv::Tessel::Server::Services::JsonUtils.GetJsonValue - property cannot be null"})
            .output;
    EXPECT_EQ(output, "warning  {key} cannot be null\n"
                      "  By:     JsonUtils.GetJsonValue\n"
                      "  Likely: The request has the key with null in it.\n"
                      "  To do:  Give the key a value, or leave it out if it is optional.\n");
}

TEST(HostExplain, FindsLinesByTheirWords)
{
    const std::string output = RunHost({"explain", "decode", "BINARY"}).output;
    EXPECT_EQ(output.rfind("warning  unable to 64 base decode binary, GetLastError = {error}\n", 0), 0U) << output;
    EXPECT_EQ(std::ranges::count(output, '\n'), 4);
}

} // namespace
} // namespace Zv::Testing
