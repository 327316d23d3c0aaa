#include "Simulator/Wql/WqlTokens.h"

#include <algorithm>
#include <cstddef>

namespace Zv::Simulator
{

namespace
{

constexpr bool IsDigit(wchar_t c) noexcept
{
    return c >= L'0' && c <= L'9';
}

constexpr bool IsWordCharacter(wchar_t c) noexcept
{
    return c > 0x7F || c == L'_' || IsDigit(c) || (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

constexpr bool IsEscapable(wchar_t c) noexcept
{
    return c == L'\\' || c == L'"' || c == L'\'';
}

class Splitter
{
public:
    explicit Splitter(std::wstring_view query) noexcept : m_rest{query} {}

    std::optional<std::vector<WqlToken>> Split()
    {
        std::vector<WqlToken> tokens;
        while (SkipBlanks())
        {
            std::optional<WqlToken> token = Take();
            if (!token)
            {
                return std::nullopt;
            }
            tokens.push_back(std::move(*token));
        }
        tokens.emplace_back();
        return tokens;
    }

private:
    bool SkipBlanks() noexcept
    {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(L" \t\r\n\f\v"), m_rest.size()));
        return !m_rest.empty();
    }

    std::optional<WqlToken> Take()
    {
        const wchar_t c = m_rest.front();
        if (c == L'"' || c == L'\'')
        {
            return TakeText(c);
        }
        if (IsDigit(c) ||
            ((c == L'-' || c == L'+' || c == L'.') && m_rest.size() > 1 && (IsDigit(m_rest[1]) || m_rest[1] == L'.')))
        {
            return TakeNumber();
        }
        if (IsWordCharacter(c))
        {
            return TakeWhile(WqlToken::Kind::Word, [](wchar_t w) { return IsWordCharacter(w) || w == L'.'; });
        }
        for (const std::wstring_view symbol : {L"<>", L"!=", L"<=", L">=", L"=", L"<", L">", L"(", L")", L",", L"*"})
        {
            if (m_rest.starts_with(symbol))
            {
                m_rest.remove_prefix(symbol.size());
                return WqlToken{WqlToken::Kind::Symbol, std::wstring{symbol == L"!=" ? L"<>" : symbol}};
            }
        }
        return std::nullopt;
    }

    // A backslash stands before a quote or another backslash, nowhere else.
    std::optional<WqlToken> TakeText(wchar_t quote)
    {
        std::wstring text;
        for (std::size_t i = 1; i < m_rest.size(); ++i)
        {
            if (m_rest[i] == quote)
            {
                m_rest.remove_prefix(i + 1);
                return WqlToken{WqlToken::Kind::Text, std::move(text)};
            }
            if (m_rest[i] == L'\\' && (++i == m_rest.size() || !IsEscapable(m_rest[i])))
            {
                return std::nullopt;
            }
            text += m_rest[i];
        }
        return std::nullopt;
    }

    std::optional<WqlToken> TakeNumber()
    {
        const bool sign = m_rest.front() == L'-' || m_rest.front() == L'+';
        const std::wstring text{m_rest.front() == L'-' ? L"-" : L""};
        m_rest.remove_prefix(sign ? 1 : 0);
        WqlToken token = TakeWhile(WqlToken::Kind::Number, [](wchar_t c) { return IsDigit(c) || c == L'.'; });
        if (std::count(token.text.begin(), token.text.end(), L'.') > 1 || token.text == L"." ||
            (!m_rest.empty() && IsWordCharacter(m_rest.front())))
        {
            return std::nullopt;
        }
        token.text.insert(0, text);
        return token;
    }

    template <class Predicate>
    WqlToken TakeWhile(WqlToken::Kind kind, Predicate belongs)
    {
        const auto* const end = std::find_if_not(m_rest.data(), m_rest.data() + m_rest.size(), belongs);
        const auto length = static_cast<std::size_t>(end - m_rest.data());
        WqlToken token{kind, std::wstring{m_rest.substr(0, length)}};
        m_rest.remove_prefix(length);
        return token;
    }

    std::wstring_view m_rest;
};

} // namespace

std::optional<std::vector<WqlToken>> SplitWql(std::wstring_view query)
{
    return Splitter{query}.Split();
}

} // namespace Zv::Simulator
