// wmihost firmware, on simulated machines.
#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

Outcome RunOnNotebook(std::vector<std::string> arguments, std::string_view input = {})
{
    return RunSimulated("notebook", std::move(arguments), input);
}

TEST(HostFirmware, ShowsTheReturnCodeAndTheBytes)
{
    const Outcome outcome = RunOnNotebook({"firmware", "1", "1", "--out", "128"});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "return code  0 (0x00000000)\n"
                              "00000000  4e 31 37 20 56 65 72 2e  20 30 31 2e 30 34 2e 30  |N17 Ver. 01.04.0|\n"
                              "00000010  30 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |0...............|\n"
                              "00000020  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |................|\n"
                              "*\n"
                              "00000080\n");
}

TEST(HostFirmware, SendsBytesAndShowsNoneUnlessAsked)
{
    const Outcome outcome = RunOnNotebook({"firmware", "2", "40", "--in", "03 00 00 00"});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "return code  0 (0x00000000)\n");
}

TEST(HostFirmware, TakesNumbersInHexadecimal)
{
    EXPECT_EQ(RunOnNotebook({"firmware", "0x2", "0x28", "--in", "03000000", "--out", "0x4"}).output,
              "return code  0 (0x00000000)\n"
              "00000000  00 00 00 00                                       |....|\n"
              "00000004\n");
}

TEST(HostFirmware, SendsTheBytesOfAFileOrOfStandardInput)
{
    const TemporaryFolder folder;
    const std::string file = folder.Write(L"gr\u00fc\u00dfe.bin", {"\x00\xff\r\n", 4});
    const std::string echoed = "return code  0 (0x00000000)\n"
                               "00000000  00 ff 0d 0a                                       |....|\n"
                               "00000004\n";
    EXPECT_EQ(RunOnNotebook({"firmware", "1", "255", "--in", "@" + file, "--out", "4"}).output, echoed);
    EXPECT_EQ(RunOnNotebook({"firmware", "1", "255", "--in", "@-", "--out", "4"}, {"\x00\xff\r\n", 4}).output, echoed);
}

TEST(HostFirmware, SendsUpTo4096Bytes)
{
    const TemporaryFolder folder;
    const std::string bytes(4096, 'x');
    const std::string raw = (folder / "raw").string();
    const Outcome outcome =
        RunOnNotebook({"firmware", "1", "255", "--in", "@" + folder.Write("in", bytes), "--out", "4096", "--raw", raw});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, "return code  0 (0x00000000)\n");
    EXPECT_EQ(TemporaryFolder::Read(raw), bytes);
}

TEST(HostFirmware, WritesTheBytesIntoAFileInPlaceOfWhatItHeld)
{
    const TemporaryFolder folder;
    const std::string raw = folder.Write("raw", "longer than the answer");
    EXPECT_EQ(RunOnNotebook({"firmware", "1", "40", "--out", "4", "--raw", raw}).exitCode, 0);
    EXPECT_EQ(TemporaryFolder::Read(raw), std::string("\x02\x00\x00\x00", 4));
}

TEST(HostFirmware, PrintsTheModulesResponseForPrograms)
{
    const Outcome outcome = RunOnNotebook({"firmware", "1", "40", "--out", "4", "--json"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    EXPECT_EQ(outcome.output, "{\"result\":{\"returnCode\":0,\"returnData\":\"AgAAAA==\\r\\n\"}}\n");
}

TEST(HostFirmware, TellsARefusalByItsExitCode)
{
    const Outcome outcome = RunOnNotebook({"firmware", "1", "9"});
    EXPECT_EQ(outcome.exitCode, 7);
    EXPECT_EQ(outcome.output, "return code  3735928559 (0xdeadbeef)\n");
    EXPECT_EQ(outcome.error, "the firmware refused the command: return code 3735928559 (0xdeadbeef)\n");

    const Outcome json = RunOnNotebook({"firmware", "4294967295", "0xFFFFFFFF", "--json"});
    EXPECT_EQ(json.exitCode, 7);
    EXPECT_EQ(json.output, "{\"result\":{\"returnCode\":4}}\n");
    EXPECT_EQ(json.error, "the firmware refused the command: return code 4 (0x00000004)\n");
}

struct WrongAnswer
{
    const char* type;
    const char* size;
    int exitCode;
    const char* output;
    const char* error;
};

TEST(HostFirmware, SaysThatBytesDidNotComeInsteadOfShowingOthers)
{
    const WrongAnswer answers[] = {
        {"1", "4", 7, "return code  0 (0x00000000)\n",
         "the firmware did not return the bytes: invalid return data size. requested 4 byte, but retuned 128 byte\n"},
        {"2", "4", 7, "return code  0 (0x00000000)\n",
         "the firmware did not return the bytes: invalid return data size. requested 4 byte, but retuned 1 byte\n"},
        {"3", "4096", 7, "return code  7 (0x00000007)\n",
         "the firmware did not return the bytes: return data is invalid\n"
         "the firmware refused the command: return code 7 (0x00000007)\n"},
        {"4", "4", 1, "",
         "0x20000002: failed: firmware command 1, type 4: OutputDataObject->Get(outputData) gave 0x80041002 (not "
         "found)\n"},
        {"8", "4", 0,
         "return code  0 (0x00000000)\n"
         "00000000  05 06 07 08                                       |....|\n00000004\n",
         ""},
        {"9", "4", 1, "",
         "0x20000002: failed: firmware command 1, type 9: IWbemServices->ExecMethod(BIOS method) gave 0x80041004 (the "
         "provider failed)\n"},
    };
    for (const WrongAnswer& answer : answers)
    {
        const TemporaryFolder folder;
        const Outcome shown = RunSimulated("misbehaving", {"firmware", "1", answer.type, "--out", answer.size});
        EXPECT_EQ(shown.exitCode, answer.exitCode) << answer.type;
        EXPECT_EQ(shown.output, answer.output) << answer.type;
        EXPECT_EQ(shown.error, answer.error) << answer.type;

        const std::filesystem::path raw = folder / "raw";
        const Outcome written =
            RunSimulated("misbehaving", {"firmware", "1", answer.type, "--out", answer.size, "--raw", raw.string()});
        EXPECT_EQ(written.exitCode, answer.exitCode) << answer.type;
        EXPECT_EQ(std::filesystem::exists(raw), answer.exitCode == 0) << answer.type;
    }
}

TEST(HostFirmware, SaysInPlainWordsThatTheMachineHasNone)
{
    constexpr char absent[] = "0x20000002: this machine's firmware takes no raw commands: WMI has no class zvqBIntM "
                              "with an instance, or no class zvqBDataIn, in root\\wmi\n";
    const Outcome desktop = RunSimulated("desktop", {"firmware", "1", "1"});
    EXPECT_EQ(desktop.exitCode, 1);
    EXPECT_EQ(desktop.output, "");
    EXPECT_EQ(desktop.error, absent);

    const TemporaryFolder folder;
    const std::string withoutInstance =
        folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\wmi","classes":[
            {"name":"zvqBDataIn","properties":{"Sign":"uint8[]","Command":"uint32","CommandType":"uint32",
             "Size":"uint32","zvqBData":"uint8[]"}},
            {"name":"zvqBIntM","methods":{"zvqBIOSInt0":{"in":{"InData":"object:zvqBDataIn"}}}}]}]})");
    EXPECT_EQ(RunHost({"firmware", "1", "1", "--simulate", withoutInstance}).error, absent);

    const std::string withoutNamespace =
        folder.Write("empty.json", R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[]}]})");
    EXPECT_EQ(RunHost({"firmware", "1", "1", "--simulate", withoutNamespace}).error, absent);
}

// The system's own WMI: a machine of another maker.
TEST(HostFirmware, SaysSoOfThisMachineToo)
{
    const Outcome outcome = RunHost({"firmware", "1", "1", "--json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error.rfind("0x20000002: this machine's firmware takes no raw commands", 0), 0U) << outcome.error;
    EXPECT_EQ(outcome.output.rfind(R"({"error":{"code":536870914,"hex":"0x20000002","name":"GeneralFailure",)", 0), 0U)
        << outcome.output;
}

TEST(HostFirmware, ShowsTheReturnCodeEvenWhenTheBytesCannotBeWritten)
{
    const Outcome outcome = RunOnNotebook({"firmware", "1", "40", "--out", "4", "--raw", "no-such-folder\\x"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.output, "return code  0 (0x00000000)\n");
    EXPECT_EQ(outcome.error.rfind("cannot write no-such-folder\\x: ", 0), 0U) << outcome.error;
}

struct Mistake
{
    std::vector<std::string> arguments;
    int exitCode;
    const char* error; // its beginning
};

TEST(HostFirmware, NamesEachMistakeInOneLine)
{
    const TemporaryFolder folder;
    const std::string tooLong = folder.Write("long", std::string(4097, 'x'));
    const Mistake mistakes[] = {
        {{"firmware"}, 2, "wmihost firmware: COMMAND is required; see wmihost firmware --help\n"},
        {{"firmware", "1"}, 2, "wmihost firmware: TYPE is required; see wmihost firmware --help\n"},
        {{"firmware", "one", "1"}, 2, "wmihost firmware: COMMAND: \"one\" is not a number from 0 to 4294967295; see"},
        {{"firmware", "1", "4294967296"},
         2,
         "wmihost firmware: TYPE: \"4294967296\" is not a number from 0 to 4294967295; see"},
        {{"firmware", "1", "1", "--out", "5"},
         2,
         "wmihost firmware: --out: \"5\" is none of 0, 4, 128, 1024, 4096; see"},
        {{"firmware", "1", "1", "--out", ""}, 2, "wmihost firmware: --out: \"\" is none of 0, 4, 128, 1024, 4096; see"},
        {{"firmware", "1", "1", "--in", "abc"},
         2,
         "wmihost firmware: --in: \"abc\" is not bytes in hexadecimal, such as \"01 ff\"; @FILE reads a file; see"},
        {{"firmware", "1", "1", "--in", "@" + tooLong},
         2,
         "wmihost firmware: --in: has 4097 bytes, may have 4096; see wmihost firmware --help\n"},
        {{"firmware", "1", "1", "--in", "@no-such-file"}, 4, "cannot read no-such-file: "},
        {{"firmware", "1", "1", "--raw", "x"}, 2, "wmihost firmware: --raw needs --out 4, 128, 1024 or 4096, since"},
        {{"firmware", "1", "1", "2"}, 2, "wmihost firmware: The following argument was not expected: 2; see"},
    };
    for (const Mistake& mistake : mistakes)
    {
        const Outcome outcome = RunOnNotebook(mistake.arguments);
        EXPECT_EQ(outcome.exitCode, mistake.exitCode) << mistake.error;
        EXPECT_EQ(outcome.output, "") << mistake.error;
        EXPECT_EQ(outcome.error.rfind(mistake.error, 0), 0U) << outcome.error;
        EXPECT_EQ(outcome.error.find('\n'), outcome.error.size() - 1) << outcome.error;
    }
}

} // namespace
} // namespace Zv::Testing
