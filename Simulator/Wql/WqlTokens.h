// Splits a query into tokens.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

struct WqlToken
{
    enum class Kind
    {
        Word, // a keyword, a class or a property, dots included
        Number,
        Text,   // text without its quotes
        Symbol, // = <> < <= > >= ( ) , *
        End
    };

    Kind kind = Kind::End;
    std::wstring text;
};

// Empty when the query has a character or an open text that no token has. The last token is End.
[[nodiscard]] std::optional<std::vector<WqlToken>> SplitWql(std::wstring_view query);

} // namespace Zv::Simulator
