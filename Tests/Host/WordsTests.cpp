#include "Host/Shell/Words.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

TEST(HostWords, BlanksSeparateThemUnlessTheyAreQuoted)
{
    struct Case
    {
        const char* line;
        std::vector<std::string> words;
    };
    const Case cases[] = {
        {"", {}},
        {" \t ", {}},
        {"get Win32_BIOS  Name ", {"get", "Win32_BIOS", "Name"}},
        {R"(get X Y --where "Name = 'a b'")", {"get", "X", "Y", "--where", "Name = 'a b'"}},
        {R"(--where="a b" c)", {"--where=a b", "c"}},
        {R"(a"b c"d)", {"ab cd"}},
        {R"("" x)", {"", "x"}},
        {R"("say ""hi""" x)", {"say \"hi\"", "x"}},
        {R"(ROOT\CIMV2 "C:\Program Files\" x)", {R"(ROOT\CIMV2)", R"(C:\Program Files\)", "x"}},
        {"it's 'one two'", {"it's", "'one", "two'"}},
        {"Kl\xc3\xa4sse", {"Kl\xc3\xa4sse"}},
    };
    for (const Case& c : cases)
    {
        const Host::Words split = Host::SplitWords(c.line);
        EXPECT_EQ(split.words, c.words) << c.line;
        EXPECT_FALSE(split.isOpen) << c.line;
    }
}

TEST(HostWords, AQuoteWithoutAnEndIsToldApart)
{
    for (const char* const line : {"\"", "get \"a b", R"("a""b)", R"(a""")"})
    {
        EXPECT_TRUE(Host::SplitWords(line).isOpen) << line;
    }
}

TEST(HostWords, TheOneBeingTypedIsTold)
{
    const Host::Words inWord = Host::SplitWords("get Win32");
    EXPECT_TRUE(inWord.endsInWord);
    EXPECT_EQ(inWord.lastBegin, 4U);

    const Host::Words inQuotes = Host::SplitWords("set \"Fast B");
    EXPECT_TRUE(inQuotes.endsInWord);
    EXPECT_EQ(inQuotes.lastBegin, 4U);
    EXPECT_EQ(inQuotes.words.back(), "Fast B");

    const Host::Words behind = Host::SplitWords("get ");
    EXPECT_FALSE(behind.endsInWord);
    EXPECT_EQ(behind.lastBegin, 4U);
}

TEST(HostWords, QuotingAWordKeepsIt)
{
    for (const std::string word : {"", "plain", R"(ROOT\CIMV2)", "Fast Boot", R"(say "hi" twice)", "\""})
    {
        EXPECT_EQ(Host::SplitWords(Host::QuotedWord(word)).words, std::vector{word}) << word;
    }
    EXPECT_EQ(Host::QuotedWord("plain"), "plain");
}

} // namespace
} // namespace Zv::Testing
