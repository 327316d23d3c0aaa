// The text of --help, which has the same shape for every subcommand.
#include "Program.h"

#include "Host/CommandLine/CommandLine.h"
#include "Host/Commands/CommandTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Lines = std::vector<std::string>;

// Where the lines have this one; their number where they do not.
std::size_t PlaceOf(const Lines& lines, const std::string& begin)
{
    return static_cast<std::size_t>(
        std::ranges::find_if(lines, [&](const std::string& line) { return line.starts_with(begin); }) - lines.begin());
}

// Description, usage, arguments, options, details, formats, examples: each once, in this order.
void ExpectShape(const std::string& command, const Lines& help)
{
    ASSERT_GE(help.size(), 4U);
    EXPECT_TRUE(!help[0].empty() && help[0].back() != '.') << "one line that describes it: " << help[0];
    EXPECT_EQ(PlaceOf(help, "Usage: wmihost " + command + " [OPTIONS]"), 1U);
    const std::size_t arguments = PlaceOf(help, "Positionals:");
    const std::size_t options = PlaceOf(help, "Options:");
    const std::size_t formats = PlaceOf(help, "Output: text");
    const std::size_t examples = PlaceOf(help, "Examples:");
    ASSERT_LT(examples, help.size());
    EXPECT_TRUE(arguments < options || arguments == help.size());
    EXPECT_LT(options, formats);
    EXPECT_EQ(help[formats - 1], "");
    EXPECT_NE(help[formats - 2], "") << "details come before the formats";
    EXPECT_EQ(formats + 2, examples);
    EXPECT_EQ(help[examples - 1], "");
    for (std::size_t line = examples + 1; line < help.size() && !help[line].empty(); ++line)
    {
        EXPECT_TRUE(help[line].starts_with("  wmihost " + command)) << help[line];
    }
    for (const std::string& line : help)
    {
        EXPECT_LE(line.size(), 120U) << line;
    }
}

std::ptrdiff_t ExamplesIn(const std::string& command, const Lines& help)
{
    return std::ranges::count_if(help, [&](const std::string& line) {
        return line == "  wmihost " + command || line.starts_with("  wmihost " + command + ' ');
    });
}

TEST(HostHelp, OfEverySubcommandHasTheSameShapeAndTwoExamples)
{
    const std::vector<std::string> commands = Subcommands();
    ASSERT_GE(commands.size(), 14U);
    for (const std::string& command : commands)
    {
        SCOPED_TRACE(command);
        const Outcome outcome = RunHost({command, "--help"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.error, "");
        const Lines help = outcome.OutputLines();
        ExpectShape(command, help);
        EXPECT_GE(ExamplesIn(command, help), 2);
    }
}

// The words of an example behind "wmihost", up to a redirection.
std::vector<std::string> WordsOf(const std::string& example)
{
    std::vector<std::string> words{""};
    bool isQuoted = false;
    for (const char c : example)
    {
        if (c == '"')
        {
            isQuoted = !isQuoted;
        }
        else if (c != ' ' || isQuoted)
        {
            words.back() += c;
        }
        else if (!words.back().empty())
        {
            words.emplace_back();
        }
    }
    words.erase(std::ranges::find_if(words, [](const std::string& word) { return word == "<" || word == ">"; }),
                words.end());
    words.erase(words.begin());
    return words;
}

TEST(HostHelp, HasExamplesThatTheCommandLineTakes)
{
    std::vector<std::string> commands = Subcommands();
    commands.emplace_back(); // of the program itself
    for (const std::string& command : commands)
    {
        const std::vector<std::string> question = command.empty() ? Lines{"--help"} : Lines{command, "--help"};
        for (const std::string& line : RunHost(question).OutputLines())
        {
            if (line.starts_with("  wmihost "))
            {
                EXPECT_NO_THROW(static_cast<void>(Host::CommandLine{Host::MakeCommands}.Parse(WordsOf(line.substr(2)))))
                    << line;
            }
        }
    }
}

} // namespace
} // namespace Zv::Testing
