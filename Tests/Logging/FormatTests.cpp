#include "Recorder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <climits>
#include <string>

namespace Zv::Testing
{
namespace
{

using Logging::CreateLoggingData;

constexpr std::size_t LongestLine = 4095;

// What the log line of a format and its arguments reads.
template <class... Arguments>
std::wstring Formatted(const wchar_t* format, Arguments... arguments)
{
    const Recorder recorder;
    Logger().LogInfo(format, arguments...);
    return recorder.Text();
}

TEST(LoggingFormat, LowerCaseSIsWide)
{
    EXPECT_EQ(Formatted(L"<%s>", L"wide text"), L"<wide text>");
}

TEST(LoggingFormat, UpperCaseSIsNarrow)
{
    EXPECT_EQ(Formatted(L"<%S>", "narrow text"), L"<narrow text>");
}

TEST(LoggingFormat, LowerCaseCIsWideAndUpperCaseCIsNarrow)
{
    EXPECT_EQ(Formatted(L"%c%C", L'\u0416', 'z'), L"\u0416z");
}

TEST(LoggingFormat, ExplicitPrefixesMeanWhatMicrosoftSays)
{
    EXPECT_EQ(Formatted(L"%ls %hs %ws", L"wide", "narrow", L"wide"), L"wide narrow wide");
}

TEST(LoggingFormat, NumbersOfEverySize)
{
    EXPECT_EQ(Formatted(L"%d %u %x %X %#x", -5, 4000000000U, 0x8004100eU, 0xbeefU, 1U),
              L"-5 4000000000 8004100e BEEF 0x1");
    EXPECT_EQ(Formatted(L"%ld %lu", -5L, 4000000000UL), L"-5 4000000000");
    EXPECT_EQ(Formatted(L"%I64d %I64x %lld", LLONG_MIN, 0x123456789abcdefULL, LLONG_MAX),
              L"-9223372036854775808 123456789abcdef 9223372036854775807");
    EXPECT_EQ(Formatted(L"%.2f", 1.5), L"1.50");
}

TEST(LoggingFormat, WidthsAndPrecisions)
{
    EXPECT_EQ(Formatted(L"[%5d][%-5d][%05d][%.2s][%*d]", 42, 42, 42, L"cut", 4, 7), L"[   42][42   ][00042][cu][   7]");
}

TEST(LoggingFormat, NullTextsPrintAsNull)
{
    EXPECT_EQ(Formatted(L"%s %S", static_cast<wchar_t*>(nullptr), static_cast<char*>(nullptr)), L"(null) (null)");
    EXPECT_EQ(Formatted(nullptr), L"(null)");
}

TEST(LoggingFormat, PercentSignsAndOddFormatsDoNoHarm)
{
    EXPECT_EQ(Formatted(L"100%%"), L"100%");
    EXPECT_EQ(Formatted(L""), L"");
}

TEST(LoggingFormat, ALineOfTheLongestLengthIsWhole)
{
    const std::wstring longest(LongestLine, L'x');
    const Recorder recorder;
    Logger().LogInfo(L"%s", longest.c_str());

    ASSERT_EQ(recorder.Lines().size(), 1U);
    EXPECT_EQ(recorder.Lines().front().text, longest);
    EXPECT_FALSE(recorder.Lines().front().cut);
}

TEST(LoggingFormat, ALongerLineIsCut)
{
    for (const std::size_t length : {LongestLine + 1, LongestLine + 2, std::size_t{100000}})
    {
        const std::wstring text = L"start" + std::wstring(length - 5, L'x');
        const Recorder recorder;
        Logger().LogInfo(L"%s", text.c_str());

        ASSERT_EQ(recorder.Lines().size(), 1U) << length;
        EXPECT_EQ(recorder.Lines().front().text, text.substr(0, LongestLine)) << length;
        EXPECT_TRUE(recorder.Lines().front().cut) << length;
    }
}

TEST(LoggingFormat, ACutNeverSplitsASurrogatePair)
{
    const std::wstring text = std::wstring(LongestLine - 1, L'x') + L"\U0001F600";
    const Recorder recorder;
    Logger().LogInfo(L"%s", text.c_str());

    ASSERT_EQ(recorder.Lines().size(), 1U);
    EXPECT_EQ(recorder.Lines().front().text, text.substr(0, LongestLine - 1));
    EXPECT_TRUE(recorder.Lines().front().cut);
}

TEST(LoggingFormat, ALineMayBeBuiltFromLoggingData)
{
    const Recorder recorder;
    Logger().LogWarning(CreateLoggingData(L"%S.%S - failed on function %s with HRESULT 0x%x", L"client"), "class A",
                        "Method", L"CoInitializeEx", 0x80010106U);

    EXPECT_EQ(recorder.Text(), L"class A.Method - failed on function CoInitializeEx with HRESULT 0x80010106");
}

TEST(LoggingFormat, LoggingDataIsMadeOfWhatItIsGiven)
{
    const wchar_t* const message = L"message";
    const wchar_t* const context = L"context";
    const Logging::LoggingData data = CreateLoggingData(message, context);

    EXPECT_EQ(data.message, message);
    EXPECT_EQ(data.context, context);
    EXPECT_EQ(data.reserved, 0U);
}

TEST(LoggingFormat, LastErrorStaysAsItWas)
{
    const Recorder recorder;
    SetLastError(4711);
    Logger().LogError(L"GetLastError = %d", GetLastError());
    EXPECT_EQ(GetLastError(), 4711U);
}

} // namespace
} // namespace Zv::Testing
