#include "Host/CommandParts/FirmwareEvent.h"
#include "Host/Text/Numbers.h"

#include <gtest/gtest.h>

#include <climits>

namespace Zv::Testing
{
namespace
{

TEST(HostNumbers, AreDecimalOrHexadecimalAndFillTheirBits)
{
    EXPECT_EQ(Host::ParseSigned("20"), 20);
    EXPECT_EQ(Host::ParseSigned("0x20001"), 0x20001);
    EXPECT_EQ(Host::ParseSigned("0XfF"), 255);
    EXPECT_EQ(Host::ParseSigned("-1"), -1);
    EXPECT_EQ(Host::ParseSigned("0xffffffff"), -1);
    EXPECT_EQ(Host::ParseSigned("4294967295"), -1);
    EXPECT_EQ(Host::ParseSigned("-2147483648"), INT_MIN);
    EXPECT_EQ(Host::ParseUnsigned("4294967295"), UINT_MAX);
}

TEST(HostNumbers, AreRefusedWhenAnythingElseIsThere)
{
    for (const char* const text : {"", "-", "x", "0x", "1x", " 1", "1 ", "+1", "1.0", "--1", "-0x1", "4294967296",
                                   "-2147483649", "0x100000000", "99999999999999999999"})
    {
        EXPECT_EQ(Host::ParseSigned(text), std::nullopt) << text;
    }
}

TEST(HostNumbers, AnEventHasAnIdAndPerhapsData)
{
    EXPECT_EQ(Host::ParseEvent("21").value().Text(), "21:0");
    EXPECT_EQ(Host::ParseEvent("0x14:0xff0000").value().Text(), "20:16711680");
    EXPECT_EQ(Host::ParseEvent("-1:-7").value().Text(), "-1:-7");
    for (const char* const text : {"", ":", "21:", ":1", "21:x", "21:1:2", "21 1"})
    {
        EXPECT_FALSE(Host::ParseEvent(text)) << text;
    }
}

TEST(HostNumbers, NounsAgreeWithTheirNumbers)
{
    EXPECT_EQ(Host::Counted(0, "event"), "0 events");
    EXPECT_EQ(Host::Counted(1, "event"), "1 event");
    EXPECT_EQ(Host::Counted(2, "event"), "2 events");
}

} // namespace
} // namespace Zv::Testing
