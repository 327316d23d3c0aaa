#include "Platform/Windows/Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

TEST(HostUtf, ConvertsBothWays)
{
    const std::wstring wide = L"gr\u00fc\u00df \U0001F600";
    const std::string narrow = "gr\xc3\xbc\xc3\x9f \xf0\x9f\x98\x80";
    EXPECT_EQ(Zv::ToUtf8(wide), narrow);
    EXPECT_EQ(Zv::ToUtf16(narrow), wide);
    EXPECT_EQ(Zv::ToUtf16Strictly(narrow), wide);
    EXPECT_EQ(Zv::LengthInUtf16(narrow), wide.size());
}

TEST(HostUtf, EmptyStaysEmpty)
{
    EXPECT_EQ(Zv::ToUtf8(L""), "");
    EXPECT_EQ(Zv::ToUtf16(""), L"");
    EXPECT_EQ(Zv::ToUtf16Strictly(""), L"");
}

TEST(HostUtf, WhatCannotBeConvertedIsReplacedOrRefused)
{
    EXPECT_EQ(Zv::ToUtf8(std::wstring(1, static_cast<wchar_t>(0xdc00))), "\xef\xbf\xbd");
    EXPECT_EQ(Zv::ToUtf16("\xff"), L"\ufffd");
    EXPECT_EQ(Zv::ToUtf16Strictly("\xff"), std::nullopt);
}

} // namespace
} // namespace Zv::Testing
