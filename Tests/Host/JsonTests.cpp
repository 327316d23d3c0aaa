#include "Host/Text/Json.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

std::string Plain(const char* json)
{
    Host::JsonDocument document;
    document.Parse(json);
    return document.HasParseError() ? "(not JSON)" : Host::PlainText(document);
}

TEST(HostJson, TextsAreQuotedAndEscaped)
{
    EXPECT_EQ(Host::JsonString("ROOT\\CIMV2"), R"("ROOT\\CIMV2")");
    EXPECT_EQ(Host::JsonString("say \"x\"\n\x01"), R"("say \"x\"\n\u0001")");
    EXPECT_EQ(Host::JsonString("gr\xc3\xbc\xc3\x9f"), "\"gr\xc3\xbc\xc3\x9f\"");
    EXPECT_EQ(Host::JsonString(""), "\"\"");
}

TEST(HostJson, AnObjectIsBuiltMemberByMember)
{
    EXPECT_EQ(Host::JsonObject{}.Text(), "{}");
    EXPECT_EQ(Host::JsonObject{}.Add("a", "x\"").Add("n", -5).AddJson("o", "[1]").Text(),
              R"({"a":"x\"","n":-5,"o":[1]})");
}

TEST(HostJson, PeopleGetTextsWithoutQuotes)
{
    EXPECT_EQ(Plain(R"("a \"b\" \\ c")"), R"(a "b" \ c)");
    EXPECT_EQ(Plain("true"), "true");
    EXPECT_EQ(Plain("-42"), "-42");
    EXPECT_EQ(Plain("null"), "null");
}

TEST(HostJson, PeopleGetTheElementsOfAnArray)
{
    EXPECT_EQ(Plain(R"(["a", 1, false])"), "a, 1, false");
    EXPECT_EQ(Plain("[]"), "");
}

} // namespace
} // namespace Zv::Testing
