#include "Simulator/Wql/Wql.h"

#include "Simulator/Wql/WqlTokens.h"

#include <algorithm>
#include <cstddef>

namespace Zv::Simulator
{

namespace
{

// Conditions are parsed by recursion.
constexpr std::size_t MaximumDepth = 200;

using ParsedCondition = std::optional<WqlCondition>;

struct OperatorSymbol
{
    std::wstring_view symbol;
    WqlOperator comparison;
    WqlOperator mirrored; // with the sides exchanged
};

constexpr OperatorSymbol Operators[] = {
    {L"=", WqlOperator::Equal, WqlOperator::Equal},  {L"<>", WqlOperator::NotEqual, WqlOperator::NotEqual},
    {L"<", WqlOperator::Less, WqlOperator::Greater}, {L"<=", WqlOperator::LessOrEqual, WqlOperator::GreaterOrEqual},
    {L">", WqlOperator::Greater, WqlOperator::Less}, {L">=", WqlOperator::GreaterOrEqual, WqlOperator::LessOrEqual},
};

// Recursive descent; a null or empty result anywhere means that the query is not valid.
class Parser
{
public:
    explicit Parser(std::vector<WqlToken> tokens) noexcept : m_tokens{std::move(tokens)} {}

    std::optional<WqlQuery> Parse()
    {
        WqlQuery query;
        if (!TakeWord(L"SELECT") || !ParseColumns(query.columns) || !TakeWord(L"FROM") || !ParseClass(query.className))
        {
            return std::nullopt;
        }
        if (TakeWord(L"WITHIN"))
        {
            query.within = true;
            if (Peek().kind != WqlToken::Kind::Number)
            {
                return std::nullopt;
            }
            ++m_next;
        }
        if (TakeWord(L"WHERE"))
        {
            query.where = ParseOr(0);
            if (!query.where)
            {
                return std::nullopt;
            }
        }
        return Peek().kind == WqlToken::Kind::End ? std::optional{std::move(query)} : std::nullopt;
    }

private:
    [[nodiscard]] const WqlToken& Peek() const noexcept { return m_tokens[m_next]; }

    bool TakeWord(std::wstring_view word) noexcept
    {
        const bool found = Peek().kind == WqlToken::Kind::Word && EqualNoCase(Peek().text, word);
        m_next += found ? 1 : 0;
        return found;
    }

    bool TakeSymbol(std::wstring_view symbol) noexcept
    {
        const bool found = Peek().kind == WqlToken::Kind::Symbol && Peek().text == symbol;
        m_next += found ? 1 : 0;
        return found;
    }

    bool ParseColumns(std::vector<std::wstring>& columns)
    {
        if (TakeSymbol(L"*"))
        {
            return true;
        }
        do
        {
            if (Peek().kind != WqlToken::Kind::Word)
            {
                return false;
            }
            columns.push_back(m_tokens[m_next++].text);
        } while (TakeSymbol(L","));
        return true;
    }

    bool ParseClass(std::wstring& className)
    {
        if (Peek().kind != WqlToken::Kind::Word || Peek().text.find(L'.') != std::wstring::npos)
        {
            return false;
        }
        className = m_tokens[m_next++].text;
        return true;
    }

    ParsedCondition ParseOr(std::size_t depth)
    {
        return ParseChain(WqlCondition::Kind::Or, L"OR", [&] { return ParseAnd(depth); });
    }

    ParsedCondition ParseAnd(std::size_t depth)
    {
        return ParseChain(WqlCondition::Kind::And, L"AND", [&] { return ParseNot(depth); });
    }

    // One part, or any number of them with the word between. A chain is kept flat: it may be as long as it likes.
    template <class ParsePart>
    ParsedCondition ParseChain(WqlCondition::Kind kind, std::wstring_view word, ParsePart parsePart)
    {
        WqlCondition chain;
        chain.kind = kind;
        do
        {
            ParsedCondition part = parsePart();
            if (!part)
            {
                return std::nullopt;
            }
            chain.parts.push_back(std::move(*part));
        } while (TakeWord(word));
        if (chain.parts.size() > 1)
        {
            return chain;
        }
        WqlCondition only = std::move(chain.parts.front());
        return only;
    }

    ParsedCondition ParseNot(std::size_t depth)
    {
        if (depth > MaximumDepth)
        {
            return std::nullopt;
        }
        if (TakeWord(L"NOT"))
        {
            return Negate(ParseNot(depth + 1));
        }
        if (!TakeSymbol(L"("))
        {
            return ParseComparison();
        }
        ParsedCondition inner = ParseOr(depth + 1);
        return inner && TakeSymbol(L")") ? std::move(inner) : std::nullopt;
    }

    static ParsedCondition Negate(ParsedCondition inner)
    {
        if (!inner)
        {
            return std::nullopt;
        }
        WqlCondition negated;
        negated.kind = WqlCondition::Kind::Not;
        negated.parts.push_back(std::move(*inner));
        return negated;
    }

    // property op constant, constant op property, property IS [NOT] NULL, property LIKE text, property ISA text. WQL's
    // NOT stands before the whole comparison.
    ParsedCondition ParseComparison()
    {
        WqlCondition condition;
        std::optional<WqlLiteral> literal = TakeLiteral();
        if (literal)
        {
            const OperatorSymbol* const symbol = TakeOperator();
            if (symbol == nullptr || !TakeProperty(condition))
            {
                return std::nullopt;
            }
            condition.comparison = symbol->mirrored;
            condition.literal = std::move(*literal);
            return condition;
        }
        if (!TakeProperty(condition))
        {
            return std::nullopt;
        }
        if (TakeWord(L"IS"))
        {
            condition.comparison = TakeWord(L"NOT") ? WqlOperator::NotEqual : WqlOperator::Equal;
            return TakeWord(L"NULL") ? ParsedCondition{std::move(condition)} : std::nullopt;
        }
        if (TakeWord(L"LIKE"))
        {
            condition.comparison = WqlOperator::Like;
            return TakeTextInto(std::move(condition));
        }
        if (TakeWord(L"ISA"))
        {
            condition.comparison = WqlOperator::Isa;
            return TakeTextInto(std::move(condition));
        }
        const OperatorSymbol* const symbol = TakeOperator();
        literal = symbol == nullptr ? std::nullopt : TakeLiteral();
        if (!literal)
        {
            return std::nullopt;
        }
        condition.comparison = symbol->comparison;
        condition.literal = std::move(*literal);
        return condition;
    }

    ParsedCondition TakeTextInto(WqlCondition condition)
    {
        if (Peek().kind != WqlToken::Kind::Text)
        {
            return std::nullopt;
        }
        condition.literal = m_tokens[m_next++].text;
        return condition;
    }

    bool TakeProperty(WqlCondition& condition)
    {
        if (Peek().kind != WqlToken::Kind::Word)
        {
            return false;
        }
        condition.property = SplitPath(m_tokens[m_next++].text);
        return true;
    }

    const OperatorSymbol* TakeOperator() noexcept
    {
        const auto* const found =
            std::ranges::find_if(Operators, [&](const OperatorSymbol& entry) { return TakeSymbol(entry.symbol); });
        return found == std::end(Operators) ? nullptr : found;
    }

    std::optional<WqlLiteral> TakeLiteral()
    {
        if (Peek().kind == WqlToken::Kind::Number)
        {
            return WqlNumber{m_tokens[m_next++].text};
        }
        if (Peek().kind == WqlToken::Kind::Text)
        {
            return m_tokens[m_next++].text;
        }
        if (TakeWord(L"TRUE"))
        {
            return true;
        }
        if (TakeWord(L"FALSE"))
        {
            return false;
        }
        return TakeWord(L"NULL") ? std::optional<WqlLiteral>{WqlLiteral{}} : std::nullopt;
    }

    std::vector<WqlToken> m_tokens;
    std::size_t m_next = 0;
};

} // namespace

bool IsBeyondSimulation(std::wstring_view text) noexcept
{
    const auto isBlank = [](wchar_t c) { return c <= L' '; };
    std::wstring_view previous;
    for (const wchar_t *at = text.data(), *const end = at + text.size(); at != end;)
    {
        at = std::find_if_not(at, end, isBlank);
        const wchar_t* const wordEnd = std::find_if(at, end, isBlank);
        const std::wstring_view word{at, static_cast<std::size_t>(wordEnd - at)};
        const auto follows = [&](std::wstring_view first, std::wstring_view second) {
            return EqualNoCase(previous, first) && EqualNoCase(word.substr(0, second.size()), second);
        };
        if (follows(L"ASSOCIATORS", L"OF") || follows(L"REFERENCES", L"OF") || follows(L"FROM", L"meta_class") ||
            follows(L"GROUP", L"WITHIN"))
        {
            return true;
        }
        previous = word;
        at = wordEnd;
    }
    return false;
}

std::optional<WqlQuery> ParseWql(std::wstring_view text)
{
    std::optional<std::vector<WqlToken>> tokens = SplitWql(text);
    return tokens ? Parser{std::move(*tokens)}.Parse() : std::nullopt;
}

} // namespace Zv::Simulator
