#include "Host/Shell/Words.h"

namespace Zv::Host
{

Words SplitWords(std::string_view line)
{
    Words split;
    for (std::size_t i = 0; i < line.size(); ++i)
    {
        const char c = line[i];
        const bool isBlank = c == ' ' || c == '\t';
        if (isBlank && !split.isOpen)
        {
            split.endsInWord = false;
            continue;
        }
        if (!split.endsInWord)
        {
            split.words.emplace_back();
            split.lastBegin = i;
            split.endsInWord = true;
        }
        if (c != '"')
        {
            split.words.back() += c;
        }
        else if (split.isOpen && line.substr(i + 1).starts_with('"'))
        {
            split.words.back() += '"';
            ++i;
        }
        else
        {
            split.isOpen = !split.isOpen;
        }
    }
    if (!split.endsInWord)
    {
        split.lastBegin = line.size();
    }
    return split;
}

std::string QuotedWord(const std::string& word)
{
    if (!word.empty() && word.find_first_of(" \t\"") == std::string::npos)
    {
        return word;
    }
    std::string quoted = "\"";
    for (const char c : word)
    {
        quoted += c == '"' ? "\"\"" : std::string{c};
    }
    return quoted + '"';
}

} // namespace Zv::Host
