#include "TemporaryFolder.h"

#include "Host/Text/Failure.h"
#include "Host/Text/RequestText.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

using namespace std::string_literals;

// The failure's exit code and line.
template <class Action>
std::string FailureOf(Action action)
{
    try
    {
        action();
    }
    catch (const Host::Failure& failure)
    {
        return std::to_string(static_cast<int>(failure.Code())) + " " + failure.what();
    }
    return "(no failure)";
}

TEST(HostRequest, IsReadAsUtf8WithOrWithoutAMark)
{
    EXPECT_EQ(Host::DecodeRequest("{\"a\":\"\xc3\xbc\"}", "f"), L"{\"a\":\"\u00fc\"}");
    EXPECT_EQ(Host::DecodeRequest("\xef\xbb\xbf{}", "f"), L"{}");
    EXPECT_EQ(Host::DecodeRequest("", "f"), L"");
}

TEST(HostRequest, IsReadAsUtf16WithAMark)
{
    EXPECT_EQ(Host::DecodeRequest("\xff\xfe{\0}\0"s, "f"), L"{}");
    EXPECT_EQ(Host::DecodeRequest("\xfe\xff\0{\0}"s, "f"), L"{}");
}

TEST(HostRequest, KeepsUnpairedSurrogates)
{
    EXPECT_EQ(Host::DecodeRequest("\xff\xfe\x00\xd8"s, "f"), std::wstring(1, static_cast<wchar_t>(0xd800)));
}

TEST(HostRequest, OfOtherBytesIsRefused)
{
    EXPECT_EQ(FailureOf([] { static_cast<void>(Host::DecodeRequest("\xc3(", "f")); }),
              "2 f is neither UTF-8 nor UTF-16 with a byte order mark");
    EXPECT_EQ(FailureOf([] { static_cast<void>(Host::DecodeRequest("\xff\xfe{", "-")); }),
              "2 standard input is neither UTF-8 nor UTF-16 with a byte order mark");
}

TEST(HostRequest, WithAZeroCharacterIsRefused)
{
    EXPECT_EQ(FailureOf([] { static_cast<void>(Host::DecodeRequest("{}\0{}"s, "f")); }),
              "2 f has a zero character after 2 characters: a request is text without one");
}

TEST(HostRequest, ComesFromAFileOfAnyNameAndSize)
{
    const TemporaryFolder folder;
    const std::string content(100000, 'x');
    const std::string path = folder.Write(L"gr\u00fc\u00dfe.json", content);
    EXPECT_EQ(Host::ReadAll(path), content);
}

TEST(HostRequest, FromAFileThatIsNotThereIsAnInputError)
{
    EXPECT_EQ(FailureOf([] {
                  static_cast<void>(Host::ReadAll("no-such-file.json"));
              }).rfind("4 cannot read no-such-file.json: ", 0),
              0U);
}

} // namespace
} // namespace Zv::Testing
