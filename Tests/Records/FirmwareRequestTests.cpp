// The request record of function 2.

#include "Tests/Records/RecordTest.h"
#include "Tests/Support/ScriptedFirmware.h"

#include <wincrypt.h>

#include <optional>

namespace
{

using namespace Zv::Testing;

constexpr char Record[] = "ReadBiosWmiCommandParamsJson";
constexpr char RecordType[] = "struct Zv::Tessel::Server::Services::WMI::ReadBiosWmiCommandParamsJson";

class FirmwareRequest : public RecordTest
{
protected:
    FirmwareRequest() { firmware.emplace(wmi->script); }

    // A request whose members are all usable but for those given; an empty text leaves the member out.
    struct Members
    {
        std::wstring command = L"1";
        std::wstring commandType = L"2";
        std::wstring inputDataSize = L"0";
        std::wstring returnDataSize = L"0";
        std::wstring inputData = L"";
    };
    Reply RunWith(const Members& members)
    {
        std::wstring request;
        const auto add = [&request](const wchar_t* key, const std::wstring& value) {
            if (!value.empty())
            {
                request += (request.empty() ? L"{\"" : L",\"") + std::wstring{key} + L"\":" + value;
            }
        };
        add(L"command", members.command);
        add(L"commandType", members.commandType);
        add(L"inputDataSize", members.inputDataSize);
        add(L"returnDataSize", members.returnDataSize);
        add(L"inputData", members.inputData);
        transcript.Clear();
        return Run(2, (request + L"}").c_str());
    }

    static LogLine DecodeFailed(DWORD error)
    {
        return Warning(L"%S.%S - unable to 64 base decode binary, GetLastError = %d", RecordType, Record, error);
    }

    std::optional<ScriptedFirmware> firmware;
};

TEST_F(FirmwareRequest, BringsItsNumbersToTheFirmware)
{
    EXPECT_EQ(RunWith({.command = L"131081", .commandType = L"38"}).code, 0);

    EXPECT_EQ(firmware->Command(), 131081);
    EXPECT_EQ(firmware->CommandType(), 38);
    EXPECT_EQ(firmware->Size(), 0);
    EXPECT_EQ(firmware->Method(), L"zvqBIOSInt0");
}

TEST_F(FirmwareRequest, NeedsEachNumberAndSaysWhichOneItMisses)
{
    EXPECT_EQ(RunWith({.command = L""}).code, 0x20000003);
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"command"), Refused(Record, "command")}));
    EXPECT_EQ(RunWith({.commandType = L""}).code, 0x20000004);
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"commandType"), Refused(Record, "commandType")}));
    EXPECT_EQ(RunWith({.inputDataSize = L""}).code, 0x20000005);
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"inputDataSize"), Refused(Record, "inputDataSize")}));
    EXPECT_EQ(RunWith({.returnDataSize = L""}).code, 0x20000008);
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"returnDataSize"), Refused(Record, "returnDataSize")}));
}

TEST_F(FirmwareRequest, RefusesAStringForEachNumber)
{
    EXPECT_EQ(RunWith({.command = L"\"1\""}).code, 0x20000003);
    EXPECT_EQ(Log(), (std::vector{WrongType(L"command", 6, 5), Refused(Record, "command")}));
    EXPECT_EQ(RunWith({.commandType = L"\"1\""}).code, 0x20000004);
    EXPECT_EQ(Log(), (std::vector{WrongType(L"commandType", 6, 5), Refused(Record, "commandType")}));
    EXPECT_EQ(RunWith({.inputDataSize = L"\"1\""}).code, 0x20000005);
    EXPECT_EQ(Log(), (std::vector{WrongType(L"inputDataSize", 6, 5), Refused(Record, "inputDataSize")}));
    EXPECT_EQ(RunWith({.returnDataSize = L"\"1\""}).code, 0x20000008);
    EXPECT_EQ(Log(), (std::vector{WrongType(L"returnDataSize", 6, 5), Refused(Record, "returnDataSize")}));
}

TEST_F(FirmwareRequest, RefusesNullForEachNumber)
{
    EXPECT_EQ(RunWith({.command = L"null"}).code, 0x20000003);
    EXPECT_EQ(Log(), (std::vector{NullValue(L"command"), Refused(Record, "command")}));
    EXPECT_EQ(RunWith({.commandType = L"null"}).code, 0x20000004);
    EXPECT_EQ(RunWith({.inputDataSize = L"null"}).code, 0x20000005);
    EXPECT_EQ(RunWith({.returnDataSize = L"null"}).code, 0x20000008);
}

TEST_F(FirmwareRequest, IsReadInOrderAndEndsAtTheFirstUnusableMember)
{
    EXPECT_EQ(Run(2, LR"({"returnDataSize":"x","inputDataSize":"x","commandType":"x"})").code, 0x20000003);
    EXPECT_EQ(Run(2, LR"({"returnDataSize":"x","inputDataSize":"x","command":1})").code, 0x20000004);
    EXPECT_EQ(Run(2, LR"({"returnDataSize":"x","commandType":1,"command":1})").code, 0x20000005);
    EXPECT_EQ(Run(2, LR"({"inputDataSize":4,"commandType":1,"command":1})").code, 0x20000008);
}

TEST_F(FirmwareRequest, CutsFractionsOff)
{
    EXPECT_EQ(RunWith({.command = L"7.9", .commandType = L"-2.9", .returnDataSize = L"4.5"}).code, 0);

    EXPECT_EQ(firmware->Command(), 7);
    EXPECT_EQ(firmware->CommandType(), -2);
    EXPECT_EQ(firmware->Method(), L"zvqBIOSInt4");
}

TEST_F(FirmwareRequest, KeepsTheLow32BitsOfLargerNumbers)
{
    EXPECT_EQ(RunWith({.command = L"4294967297", .commandType = L"18446744073709551615"}).code, 0);
    EXPECT_EQ(firmware->Command(), 1);
    EXPECT_EQ(firmware->CommandType(), -1);

    EXPECT_EQ(RunWith({.command = L"-4294967299", .commandType = L"2147483648"}).code, 0);
    EXPECT_EQ(firmware->Command(), -3);
    EXPECT_EQ(firmware->CommandType(), INT32_MIN);
}

TEST_F(FirmwareRequest, TakesNumbersThatNoIntegerHolds)
{
    EXPECT_EQ(RunWith({.command = L"1e300", .commandType = L"-1e20"}).code, 0);
}

TEST_F(FirmwareRequest, TakesReturnSizes0And4And128And1024And4096)
{
    for (const wchar_t* const size : {L"0", L"4", L"128", L"1024", L"4096"})
    {
        EXPECT_EQ(RunWith({.returnDataSize = size}).code, 0) << Narrow(size);
        EXPECT_EQ(firmware->Method(), std::wstring{L"zvqBIOSInt"} + size);
    }
}

TEST_F(FirmwareRequest, RefusesEveryOtherReturnSize)
{
    for (const wchar_t* const size :
         {L"1", L"3", L"5", L"127", L"129", L"2048", L"4095", L"4097", L"-4", L"4294967295"})
    {
        EXPECT_EQ(RunWith({.returnDataSize = size}).code, 0x20000009) << Narrow(size);
        EXPECT_EQ(Log(), std::vector{Refused(Record, "returnDataSize")});
    }
}

TEST_F(FirmwareRequest, LooksAtTheReturnSizeBeforeTheInput)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"4", .returnDataSize = L"5"}).code, 0x20000009);
}

TEST_F(FirmwareRequest, WithoutInputDoesNotReadTheInputData)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"0", .inputData = L"5"}).code, 0);

    EXPECT_TRUE(Log().empty());
    EXPECT_EQ(plan.Calls("CryptStringToBinaryW"), 0);
    EXPECT_TRUE(firmware->Input().empty());
}

TEST_F(FirmwareRequest, WithInputNeedsTheInputData)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"4"}).code, 0x20000006);
    EXPECT_EQ(Log(), (std::vector{MissingKey(L"inputData"), Refused(Record, "inputData")}));
    EXPECT_EQ(RunWith({.inputDataSize = L"4", .inputData = L"null"}).code, 0x20000006);
    EXPECT_EQ(Log(), (std::vector{NullValue(L"inputData"), Refused(Record, "inputData")}));
    EXPECT_EQ(RunWith({.inputDataSize = L"4", .inputData = L"[1]"}).code, 0x20000006);
    EXPECT_EQ(Log(), (std::vector{WrongType(L"inputData", 5, 4), Refused(Record, "inputData")}));
}

TEST_F(FirmwareRequest, DecodesItsInputInTwoCallsOfThePlatform)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"4", .inputData = L"\"AQID/w==\""}).code, 0);

    EXPECT_EQ(firmware->Size(), 4);
    EXPECT_EQ(firmware->Input(), (std::vector<std::uint8_t>{1, 2, 3, 0xff}));
    EXPECT_EQ(transcript.Of({L"CryptStringToBinaryW"}),
              (std::vector<std::wstring>{L"CryptStringToBinaryW(\"AQID/w==\", 8, 1, null, ptr, null, null) = 1",
                                         L"CryptStringToBinaryW(\"AQID/w==\", 8, 1, ptr, ptr, null, null) = 1"}));
}

TEST_F(FirmwareRequest, DecodesIntoABlockOfWholeMultiplesOf4Bytes)
{
    std::vector<std::wstring> blocks;
    calls->Replace<"CryptStringToBinaryW", decltype(CryptStringToBinaryW)>(
        [&](const wchar_t* text, DWORD length, DWORD flags, BYTE* binary, DWORD* size, DWORD* skip, DWORD* format) {
            if (binary != nullptr)
            {
                blocks.push_back(ledgers.heap.Held().back());
            }
            return CryptStringToBinaryW(text, length, flags, binary, size, skip, format);
        });

    RunWith({.inputDataSize = L"4", .inputData = L"\"AQIDBA==\""});
    RunWith({.inputDataSize = L"5", .inputData = L"\"AQIDBAU=\""});

    EXPECT_EQ(blocks, (std::vector<std::wstring>{L"4 bytes", L"8 bytes"}));
}

TEST_F(FirmwareRequest, MeasuresTheInputTextUpTo8192Characters)
{
    const std::wstring text(9000, L'A');

    EXPECT_EQ(RunWith({.inputDataSize = L"6144", .inputData = L"\"" + text + L"\""}).code, 0);

    EXPECT_EQ(firmware->Input().size(), 6144u);
    const std::vector<std::wstring> decodes = transcript.Of({L"CryptStringToBinaryW"});
    ASSERT_FALSE(decodes.empty());
    EXPECT_NE(decodes[0].find(L", 0x2000, 1, null"), std::wstring::npos);
}

TEST_F(FirmwareRequest, ThatDecodesToAnotherLengthNamesBothLengths)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"4", .inputData = L"\"AQID\""}).code, 0x20000007);

    EXPECT_EQ(Log(), std::vector{Warning(L"%S.%S - invalid input data size. requested input is %d byte, but input data "
                                         L"has %d byte",
                                         RecordType, Record, 4, 3)});
    EXPECT_EQ(plan.Calls("CryptStringToBinaryW"), 1);
}

TEST_F(FirmwareRequest, WithAnInputThatIsNoBase64ReportsThePlatformsError)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"4", .inputData = L"\"!!!!\""}).code, 0x20000002);

    EXPECT_EQ(Log(), std::vector{DecodeFailed(ERROR_INVALID_DATA)});
}

TEST_F(FirmwareRequest, WithAnEmptyInputIsRefused)
{
    const Reply reply = RunWith({.inputDataSize = L"4", .inputData = L"\"\""});

    EXPECT_TRUE(reply.code == 0x20000002 || reply.code == 0x20000007) << "the platform decides whether it decodes";
}

TEST_F(FirmwareRequest, ReportsAFailureOfTheFirstDecodingAsGeneral)
{
    Fail("CryptStringToBinaryW", Fault::Nth(1, FALSE, ERROR_NOT_ENOUGH_MEMORY));

    EXPECT_EQ(RunWith({.inputDataSize = L"3", .inputData = L"\"AQID\""}).code, 0x20000002);

    EXPECT_EQ(Log(), std::vector{DecodeFailed(ERROR_NOT_ENOUGH_MEMORY)});
}

TEST_F(FirmwareRequest, ReportsAFailureOfTheSecondDecodingAsASizeMismatch)
{
    Fail("CryptStringToBinaryW", Fault::Nth(2, FALSE, ERROR_INVALID_DATA));

    EXPECT_EQ(RunWith({.inputDataSize = L"3", .inputData = L"\"AQID\""}).code, 0x20000007);

    EXPECT_EQ(Log(), std::vector{DecodeFailed(ERROR_INVALID_DATA)});
}

TEST_F(FirmwareRequest, TakesBase64WithLineBreaks)
{
    EXPECT_EQ(RunWith({.inputDataSize = L"6", .inputData = L"\"AQID\\r\\nBAUG\\r\\n\""}).code, 0);

    EXPECT_EQ(firmware->Input(), (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6}));
}

TEST_F(FirmwareRequest, ThatIsRefusedNeverReachesWmi)
{
    RunWith({.returnDataSize = L"5"});

    EXPECT_TRUE(transcript.Calls().empty());
}

} // namespace
