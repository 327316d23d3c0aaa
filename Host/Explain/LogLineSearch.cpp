#include "Host/Explain/LogLineSearch.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <utility>

namespace Zv::Host
{

namespace
{

// How many characters of the row's fixed text the line has, in the row's order; 0 when it lacks any of them.
std::size_t FixedTextIn(std::string_view line, std::string_view row)
{
    std::size_t found = 0;
    while (!row.empty())
    {
        const std::string_view fixed = row.substr(0, row.find('{'));
        const std::size_t position = line.find(fixed);
        if (position == std::string_view::npos)
        {
            return 0;
        }
        found += fixed.size();
        line.remove_prefix(position + fixed.size());
        const std::size_t variable = row.find('}');
        row = variable == std::string_view::npos ? std::string_view{} : row.substr(variable + 1);
    }
    return found;
}

// Lines of several classes may have the same text.
bool NamesSource(std::string_view line, std::string_view sources)
{
    while (!sources.empty())
    {
        const std::string_view source = sources.substr(0, sources.find(','));
        if (line.find(source) != std::string_view::npos)
        {
            return true;
        }
        sources.remove_prefix(std::min(sources.size(), source.size() + 2));
    }
    return false;
}

std::set<std::string> Words(std::string_view text)
{
    std::set<std::string> words;
    std::string word;
    for (const char character : std::string{text} + ' ')
    {
        if (const auto byte = static_cast<unsigned char>(character); std::isalnum(byte) != 0)
        {
            word += static_cast<char>(std::tolower(byte));
        }
        else if (!word.empty())
        {
            words.insert(std::exchange(word, {}));
        }
    }
    return words;
}

} // namespace

std::vector<LogLineInfo> FindLogLines(std::string_view line)
{
    std::vector<LogLineInfo> rows;
    std::size_t best = 1;
    for (const LogLineInfo& info : AllLogLines())
    {
        const std::size_t fixed = FixedTextIn(line, info.text);
        const std::size_t score = 2 * fixed + (fixed != 0 && NamesSource(line, info.source) ? 1 : 0);
        if (score > best)
        {
            rows.clear();
            best = score;
        }
        if (score == best)
        {
            rows.push_back(info);
        }
    }
    if (rows.empty())
    {
        const std::set<std::string> words = Words(line);
        std::ranges::copy_if(AllLogLines(), std::back_inserter(rows), [&words](const LogLineInfo& info) {
            return !words.empty() && std::ranges::includes(Words(info.text), words);
        });
    }
    return rows;
}

} // namespace Zv::Host
