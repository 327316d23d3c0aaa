// Inputs of raw firmware commands that are long, odd or wrong.

#include "Tests/Firmware/FirmwareTest.h"

#include <wincrypt.h>

#include <numeric>

namespace
{

using namespace Zv::Testing;

constexpr char RecordType[] = "struct Zv::Tessel::Server::Services::WMI::ReadBiosWmiCommandParamsJson";
constexpr char Record[] = "ReadBiosWmiCommandParamsJson";

class CommandInput : public FirmwareTest
{
protected:
    // The command is refused with the code and the line, and WMI is not asked.
    void ExpectRefusal(const Reply& reply, int code, const LogLine& line)
    {
        EXPECT_EQ(reply.code, code);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{line});
        EXPECT_TRUE(transcript.Of({L"Co", L"IWbem"}).empty());
    }

    [[nodiscard]] static LogLine WrongSize(std::uint32_t requested, std::uint32_t decoded)
    {
        return Warning(L"%S.%S - invalid input data size. requested input is %d byte, but input data has %d byte",
                       RecordType, Record, requested, decoded);
    }
};

TEST_F(CommandInput, OfAnyLengthUpToThatOfTheTextsBoundIsPutWholeAndNotExtended)
{
    for (const std::size_t size : {1u, 2u, 3u, 127u, 128u, 4095u, 4096u, 4097u, 5000u, 6144u})
    {
        ByteVector input(size);
        std::iota(input.begin(), input.end(), static_cast<std::uint8_t>(size));

        EXPECT_EQ(RunCommand(input, 0).code, 0) << size;

        EXPECT_EQ(firmware->Size(), static_cast<std::int32_t>(size));
        EXPECT_EQ(firmware->Input(), input);
    }
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandInput, BeyondTheTextsBoundCountsUpToThere)
{
    ExpectRefusal(RunCommand(ByteVector(6147), 0), 0x20000007, WrongSize(6147, 6144));
}

TEST_F(CommandInput, OfAnotherSizeThanSaidIsRefused)
{
    for (const std::uint32_t said : {1u, 2u, 4u, 4096u, 0x7fffffffu, 0xffffffffu})
    {
        transcript.Clear();

        ExpectRefusal(RunWithInput(L"AQID", said), 0x20000007, WrongSize(said, 3));
    }
}

TEST_F(CommandInput, FollowsThePlatformsReadingOfBase64)
{
    constexpr std::uint32_t said = 4;
    const struct
    {
        const wchar_t* what;
        std::wstring json;
        std::wstring text;
    } cases[] = {
        {L"as it should be", L"AQIDBA==", L"AQIDBA=="},
        {L"a break of lines", L"AQID\\r\\nBA==\\r\\n", L"AQID\r\nBA==\r\n"},
        {L"a bare line feed", L"AQID\\nBA==", L"AQID\nBA=="},
        {L"breaks before it", L"\\r\\nAQIDBA==", L"\r\nAQIDBA=="},
        {L"a blank within", L"AQID BA==", L"AQID BA=="},
        {L"blanks around it", L"  AQIDBA==  ", L"  AQIDBA==  "},
        {L"a tab", L"AQID\\tBA==", L"AQID\tBA=="},
        {L"no padding", L"AQIDBA", L"AQIDBA"},
        {L"half the padding", L"AQIDBA=", L"AQIDBA="},
        {L"too much padding", L"AQIDBA===", L"AQIDBA==="},
        {L"padding first", L"==AQIDBA", L"==AQIDBA"},
        {L"padding within", L"AQ==IDBA", L"AQ==IDBA"},
        {L"one character", L"A", L"A"},
        {L"the URL alphabet", L"-_-_-w==", L"-_-_-w=="},
        {L"no base64 at all", L"!?", L"!?"},
        {L"beyond ASCII", L"AQID\u00e4A==", L"AQID\u00e4A=="},
        {L"blanks only", L"    ", L"    "},
        {L"padding only", L"====", L"===="},
    };
    for (const auto& [what, json, text] : cases)
    {
        SCOPED_TRACE(Narrow(what));
        transcript.Clear();
        BYTE decoded[64] = {};
        DWORD size = sizeof decoded;
        SetLastError(0);
        const bool readable = CryptStringToBinaryW(text.c_str(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64,
                                                   decoded, &size, nullptr, nullptr) != FALSE;
        const DWORD error = GetLastError();

        const Reply reply = RunWithInput(json, said);

        if (!readable)
        {
            ExpectRefusal(
                reply, 0x20000002,
                Warning(L"%S.%S - unable to 64 base decode binary, GetLastError = %d", RecordType, Record, error));
        }
        else if (size != said)
        {
            ExpectRefusal(reply, 0x20000007, WrongSize(said, size));
        }
        else
        {
            EXPECT_EQ(reply.code, 0);
            EXPECT_EQ(firmware->Input(), ByteVector(decoded, decoded + size));
        }
    }
}

TEST_F(CommandInput, IsReadBackAsItWasWrittenWithTheBreaksOfAnAnswer)
{
    const ByteVector input(100, 0x5a);
    std::wstring json = Response(0, input); // as the module writes data
    json = json.substr(json.find(L"returnData\":\"") + 13);
    json.resize(json.find(L'"'));

    EXPECT_EQ(RunWithInput(json, 100).code, 0);

    EXPECT_EQ(firmware->Input(), input);
}

} // namespace
