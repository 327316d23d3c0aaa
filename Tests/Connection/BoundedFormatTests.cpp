// Formatting into a buffer of fixed size. The module does not export it: this program compiles it.

#include "Platform/Windows/BoundedFormat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

namespace
{

using Zv::Tessel::Server::Shared::WMI::BoundedFormat;

constexpr HRESULT Cut = static_cast<HRESULT>(0x8007007A);
constexpr HRESULT InvalidSize = static_cast<HRESULT>(0x80070057);

class BoundedFormatting : public ::testing::Test
{
protected:
    BoundedFormatting() { std::fill(std::begin(buffer), std::end(buffer), L'#'); }

    wchar_t buffer[40];
};

TEST_F(BoundedFormatting, WritesWhatFitsWithItsTerminator)
{
    EXPECT_EQ(BoundedFormat(buffer, 60, L"zvqBIOSInt%ld", 4096L), S_OK);

    EXPECT_STREQ(buffer, L"zvqBIOSInt4096");
    EXPECT_EQ(buffer[30], L'#');
}

TEST_F(BoundedFormatting, TakesMicrosoftsMeaningOfStrings)
{
    EXPECT_EQ(BoundedFormat(buffer, sizeof buffer, L"%s %S", L"wide", "narrow"), S_OK);

    EXPECT_STREQ(buffer, L"wide narrow");
}

TEST_F(BoundedFormatting, FillsTheBufferToItsLastCharacter)
{
    EXPECT_EQ(BoundedFormat(buffer, 60, L"%029d", 7), S_OK);

    EXPECT_EQ(std::wstring{buffer}, std::wstring(28, L'0') + L"7");
    EXPECT_EQ(buffer[30], L'#');
}

TEST_F(BoundedFormatting, CutsWhatIsOneCharacterTooLong)
{
    EXPECT_EQ(BoundedFormat(buffer, 60, L"%030d", 7), Cut);

    EXPECT_EQ(std::wstring{buffer}, std::wstring(29, L'0'));
    EXPECT_EQ(buffer[30], L'#');
}

TEST_F(BoundedFormatting, CutsWhatIsMuchTooLong)
{
    const std::wstring text(1000, L'x');

    EXPECT_EQ(BoundedFormat(buffer, 10, L"%s", text.c_str()), Cut);

    EXPECT_STREQ(buffer, L"xxxx");
    EXPECT_EQ(buffer[5], L'#');
}

TEST_F(BoundedFormatting, LeavesHalfACharacterOfTheSizeUnused)
{
    EXPECT_EQ(BoundedFormat(buffer, 11, L"12345"), Cut);

    EXPECT_STREQ(buffer, L"1234");
}

TEST_F(BoundedFormatting, WritesOnlyTheTerminatorIntoRoomForOneCharacter)
{
    EXPECT_EQ(BoundedFormat(buffer, 2, L"1"), Cut);

    EXPECT_STREQ(buffer, L"");
    EXPECT_EQ(buffer[1], L'#');
}

TEST_F(BoundedFormatting, RefusesSizesWithoutRoom)
{
    EXPECT_EQ(BoundedFormat(buffer, 0, L"1"), InvalidSize);
    EXPECT_EQ(BoundedFormat(buffer, 1, L"1"), InvalidSize);

    EXPECT_EQ(buffer[0], L'#');
}

TEST_F(BoundedFormatting, RefusesSizesOf2147483647CharactersOrMore)
{
    constexpr std::size_t Limit = 2147483647;

    EXPECT_EQ(BoundedFormat(buffer, Limit * 2, L"1"), InvalidSize);
    EXPECT_EQ(BoundedFormat(buffer, SIZE_MAX, L"1"), InvalidSize);
    EXPECT_EQ(buffer[0], L'#');
}

} // namespace
