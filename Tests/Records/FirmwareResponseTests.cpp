// The response record of function 2.

#include "Tests/Records/RecordTest.h"
#include "Tests/Support/ScriptedFirmware.h"

#include <optional>

namespace
{

using namespace Zv::Testing;

constexpr char Record[] = "WriteBiosWmiCommandReturnsJson";
constexpr char RecordType[] = "struct Zv::Tessel::Server::Services::WMI::WriteBiosWmiCommandReturnsJson";

class FirmwareResponse : public RecordTest
{
protected:
    FirmwareResponse() { firmware.emplace(wmi->script); }

    Reply RunWithReturnSize(unsigned int size)
    {
        return Run(
            2, (LR"({"command":1,"commandType":2,"inputDataSize":0,"returnDataSize":)" + std::to_wstring(size) + L"}")
                   .c_str());
    }

    std::optional<ScriptedFirmware> firmware;
};

TEST_F(FirmwareResponse, WithoutDataHoldsTheReturnCodeOnly)
{
    firmware->returnCode = 5;

    EXPECT_EQ(RunWithReturnSize(0).text, LR"({"result":{"returnCode":5}})");
    EXPECT_EQ(plan.Calls("CryptBinaryToStringW"), 0);
}

TEST_F(FirmwareResponse, WithDataHoldsReturnCodeAndBase64WithItsLineBreaks)
{
    firmware->data = {{1, 2, 3, 0xff}};

    EXPECT_EQ(RunWithReturnSize(4).text, LR"({"result":{"returnCode":0,"returnData":"AQID/w==\r\n"}})");
}

TEST_F(FirmwareResponse, BreaksLongDataWhereThePlatformDoes)
{
    firmware->data = std::vector<std::uint8_t>(128, 0);
    const std::wstring line(64, L'A');

    EXPECT_EQ(RunWithReturnSize(128).text, LR"({"result":{"returnCode":0,"returnData":")" + line + LR"(\r\n)" + line +
                                               LR"(\r\n)" + std::wstring(43, L'A') + LR"(=\r\n"}})");
}

TEST_F(FirmwareResponse, WritesAReturnCodeWithTheTopBitAsALargePositiveNumber)
{
    firmware->returnCode = -1;
    EXPECT_EQ(RunWithReturnSize(0).text, LR"({"result":{"returnCode":4294967295}})");

    firmware->returnCode = INT32_MIN;
    EXPECT_EQ(RunWithReturnSize(0).text, LR"({"result":{"returnCode":2147483648}})");
}

TEST_F(FirmwareResponse, IsASuccessWhateverTheFirmwareReturned)
{
    firmware->returnCode = 0x1234;

    EXPECT_EQ(RunWithReturnSize(0).code, 0);
}

TEST_F(FirmwareResponse, EncodesInTwoCallsOfThePlatform)
{
    firmware->data = {{1, 2, 3, 4}};

    RunWithReturnSize(4);

    EXPECT_EQ(transcript.Of({L"CryptBinaryToStringW"}),
              (std::vector<std::wstring>{L"CryptBinaryToStringW(ptr, 4, 1, null, ptr) = 1",
                                         L"CryptBinaryToStringW(ptr, 4, 1, ptr, ptr) = 1"}));
}

TEST_F(FirmwareResponse, IsNotWrittenWhenTheEncoderFails)
{
    firmware->data = {{1, 2, 3, 4}};
    for (const int call : {1, 2})
    {
        plan.Clear();
        transcript.Clear();
        Fail("CryptBinaryToStringW", Fault::Nth(call, FALSE, ERROR_INVALID_DATA));

        const Reply reply = RunWithReturnSize(4);

        EXPECT_EQ(reply.code, 0x20000002) << "call " << call;
        EXPECT_EQ(reply.text, L"{}") << "call " << call;
        EXPECT_EQ(Log(), std::vector{Warning(L"%S.%S - unable to 64 base encode binary", RecordType, Record)});
    }
}

TEST_F(FirmwareResponse, Of4096BytesFits)
{
    firmware->data = std::vector<std::uint8_t>(4096, 0xa5);

    const Reply reply = RunWithReturnSize(4096);

    EXPECT_EQ(reply.code, 0);
    EXPECT_GT(reply.text.size(), 4096u * 4 / 3);
}

} // namespace
