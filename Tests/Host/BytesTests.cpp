#include "Host/Text/Bytes.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

using Host::Bytes;

TEST(HostBytes, AreReadFromHexadecimalWithOrWithoutBlanks)
{
    EXPECT_EQ(Host::ParseHex("01 fF Ab"), (Bytes{0x01, 0xff, 0xab}));
    EXPECT_EQ(Host::ParseHex("01ffab"), (Bytes{0x01, 0xff, 0xab}));
    EXPECT_EQ(Host::ParseHex("  01  "), (Bytes{0x01}));
    EXPECT_EQ(Host::ParseHex(""), Bytes{});
}

TEST(HostBytes, AreNotReadFromAnythingElse)
{
    for (const char* const text : {"0", "0 1", "01 2", "0x01", "zz", "01,02", "0g", "01\t02", "\xc3\xbc"})
    {
        EXPECT_EQ(Host::ParseHex(text), std::nullopt) << text;
    }
}

TEST(HostBytes, AreShownWithOffsetAndAscii)
{
    Bytes bytes;
    for (const char c : std::string{"N17 Ver. 01.04.00\x7f\x01"})
    {
        bytes.push_back(static_cast<std::uint8_t>(c));
    }
    EXPECT_EQ(Host::HexDump(bytes), "00000000  4e 31 37 20 56 65 72 2e  20 30 31 2e 30 34 2e 30  |N17 Ver. 01.04.0|\n"
                                    "00000010  30 7f 01                                          |0..|\n"
                                    "00000013\n");
    EXPECT_EQ(Host::HexDump({}), "");
}

TEST(HostBytes, ThatRepeatAreShownOnce)
{
    Bytes bytes(64);
    bytes.push_back(0x41);
    EXPECT_EQ(Host::HexDump(bytes), "00000000  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |................|\n"
                                    "*\n"
                                    "00000040  41                                                |A|\n"
                                    "00000041\n");
}

TEST(HostBytes, AreWrittenAsBase64InOneLine)
{
    EXPECT_EQ(Host::ToBase64({0x4d}), "TQ==");
    EXPECT_EQ(Host::ToBase64(Bytes(96)), std::string(128, 'A'));
    EXPECT_EQ(Host::ToBase64({}), "");
}

TEST(HostBytes, AreReadFromBase64WithLineBreaks)
{
    EXPECT_EQ(Host::FromBase64("AQID\r\nBA==\r\n"), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(Host::FromBase64(""), Bytes{});
    EXPECT_EQ(Host::FromBase64("!"), std::nullopt);
}

} // namespace
} // namespace Zv::Testing
