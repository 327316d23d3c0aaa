// A line of the shell, taken apart into words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Host
{

// Blanks separate words, except between double quotes, which may begin and end anywhere in a word; two of them between
// quotes stand for one. Every other character is itself: backslashes, for namespaces, and single quotes, for WQL.
struct Words
{
    std::vector<std::string> words;
    std::size_t lastBegin = 0; // where the last word begins; after a blank, the end of the line
    bool isOpen = false;       // a quote has no end
    bool endsInWord = false;   // the last word may go on
};

[[nodiscard]] Words SplitWords(std::string_view line);

// So spelt that SplitWords gives back the word.
[[nodiscard]] std::string QuotedWord(const std::string& word);

} // namespace Zv::Host
