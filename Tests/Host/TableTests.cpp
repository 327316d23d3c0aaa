#include "Host/Terminal/DisplayWidth.h"
#include "Host/Terminal/Table.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{
namespace
{

using Host::Style;
using Host::Table;

Table Drives()
{
    Table table{{"DeviceID", "FileSystem"}};
    table.Add({"C:", "NTFS"});
    table.Add({"D:", "a \"name\", with\r\nlines"});
    return table;
}

TEST(HostTable, AlignsItsColumnsUnderTheirNames)
{
    EXPECT_EQ(Drives().Aligned({}, false), "DeviceID  FileSystem\n"
                                           "C:        NTFS\n"
                                           "D:        a \"name\", with  lines\n");
}

TEST(HostTable, KeepsEveryCharacterOutsideATerminalHoweverLongALineGets)
{
    const std::string longText(70000, 'x');
    Table table{{"a", "b"}};
    table.Add({longText, longText});
    EXPECT_NE(table.Aligned({}, false).find(longText + "  " + longText + '\n'), std::string::npos);
}

TEST(HostTable, CutsItsWidestColumnsUntilALineFitsTheTerminal)
{
    Table table{{"id", "name", "text"}};
    table.Add({"1", "middle", "the longest of them all"});
    EXPECT_EQ(table.Aligned(23, false), "id  name    text\n"
                                        "1   middle  the longe\xE2\x80\xA6\n");
    EXPECT_EQ(table.Aligned(17, false), "id  name   text\n"
                                        "1   midd\xE2\x80\xA6  the \xE2\x80\xA6\n");
}

TEST(HostTable, HasTheWidthThatTheTerminalShows)
{
    Table table{{"a", "b"}};
    table.Add({"\xE6\x97\xA5\xE6\x9C\xAC", "1"}); // two wide characters
    table.Add({"e\xCC\x81", "2"});                // a combining accent
    table.Add({"\xF0\x9F\x98\x80", "3"});         // an emoji, of two UTF-16 units
    table.Add({"plain", "4"});
    EXPECT_EQ(table.Aligned({}, false), "a      b\n"
                                        "\xE6\x97\xA5\xE6\x9C\xAC   1\n"
                                        "e\xCC\x81      2\n"
                                        "\xF0\x9F\x98\x80     3\n"
                                        "plain  4\n");
}

TEST(HostTable, ShowsNoCharacterThatDrivesTheTerminal)
{
    Table table{{"a"}};
    table.Add({"\x1b[31mred\x07\ttab\x7f"});
    EXPECT_EQ(table.Aligned({}, false), "a\n [31mred  tab \n");
}

TEST(HostTable, HasABoldHeadingAndStyledCellsWhereThereAreColors)
{
    Table table{{"what", "state"}};
    table.Add({"class", {"missing", Style::Error}});
    EXPECT_EQ(table.Aligned({}, true), "\x1b[1mwhat\x1b[0m   \x1b[1mstate\x1b[0m\n"
                                       "class  \x1b[31mmissing\x1b[0m\n");
}

TEST(HostTable, QuotesItsCsvAsTheRfcSays)
{
    EXPECT_EQ(Drives().Csv(), "DeviceID,FileSystem\r\n"
                              "C:,NTFS\r\n"
                              "D:,\"a \"\"name\"\", with\r\nlines\"\r\n");
}

TEST(HostTable, IsJsonForPrograms)
{
    Host::JsonDocument number;
    number.SetInt(7);
    Table table{{"a", "b"}};
    table.Add({"x\"y", Table::Cell{number}});
    table.Add({"z", "8"});
    EXPECT_EQ(table.Json(), R"([{"a":"x\"y","b":7},{"a":"z","b":"8"}])");
    EXPECT_EQ(table.JsonLines(), "{\"a\":\"x\\\"y\",\"b\":7}\n{\"a\":\"z\",\"b\":\"8\"}\n");
}

TEST(HostTable, WithoutRowsIsItsHeadingOrNothing)
{
    const Table table{{"a", "b"}};
    EXPECT_EQ(table.Aligned({}, false), "a  b\n");
    EXPECT_EQ(table.Csv(), "a,b\r\n");
    EXPECT_EQ(table.Json(), "[]");
    EXPECT_EQ(table.JsonLines(), "");
}

TEST(HostDisplayWidth, CutsBetweenCharacters)
{
    EXPECT_EQ(Host::CutToWidth("abc", 3), "abc");
    EXPECT_EQ(Host::CutToWidth("abcd", 3), "ab\xE2\x80\xA6");
    EXPECT_EQ(Host::CutToWidth("\xF0\x9F\x98\x80\xF0\x9F\x98\x80", 3), "\xF0\x9F\x98\x80\xE2\x80\xA6");
    EXPECT_EQ(Host::CutToWidth("a\xE6\x97\xA5z", 3), "a\xE2\x80\xA6"); // no half of a wide one
    EXPECT_EQ(Host::CutToWidth("abc", 0), "");
}

} // namespace
} // namespace Zv::Testing
