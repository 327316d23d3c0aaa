#include "Tests/Guide/Examples.h"

#include "Tests/Support/Text.h"

#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

// The block that an opening fence begins; none for any other code.
std::optional<Block> Open(const std::string& info, int line)
{
    std::istringstream words{info};
    std::string language;
    std::string kind;
    std::string number;
    Block block;
    block.line = line;
    words >> language >> kind >> number >> block.machine;
    if (kind == "progress")
    {
        block.kind = Block::Kind::Progress;
        return block;
    }
    if (kind == "request" || kind == "response")
    {
        block.kind = kind == "request" ? Block::Kind::Request : Block::Kind::Response;
        block.number = static_cast<unsigned int>(std::stoul(number, nullptr, 0));
        return block;
    }
    return std::nullopt; // Tests/Docs/examples.py runs it, or complains of it
}

std::string ReadText(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    if (!stream)
    {
        throw std::runtime_error{"cannot read " + file.string()};
    }
    return {std::istreambuf_iterator<char>{stream}, {}};
}

} // namespace

std::vector<Block> ReadExamples(const std::filesystem::path& page)
{
    std::istringstream lines{ReadText(page)};
    std::vector<Block> blocks;
    std::optional<Block> open;
    std::string text;
    bool inside = false;
    int number = 0;
    for (std::string line; std::getline(lines, line);)
    {
        ++number;
        if (!line.empty() && line.back() == '\r')
        {
            line.pop_back();
        }
        if (line.starts_with("```") && !inside)
        {
            inside = true;
            text.clear();
            open = Open(line.substr(3), number);
        }
        else if (line == "```")
        {
            inside = false;
            if (open)
            {
                open->text = Widen(text);
                blocks.push_back(*open);
            }
        }
        else if (inside)
        {
            text += (text.empty() ? "" : "\n") + line;
        }
    }
    return blocks;
}

} // namespace Zv::Testing
