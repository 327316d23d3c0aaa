#include "Simulator/Cim/DateTime.h"

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace Zv::Simulator
{

namespace
{

using std::chrono::microseconds;

struct DateTime
{
    bool isInterval = false;
    microseconds value{}; // since 1970, or how long
};

// Takes the parts of a date-time off the front of a text.
class Parts
{
public:
    explicit Parts(std::wstring_view text) noexcept : m_text{text} {}

    [[nodiscard]] bool IsEmpty() const noexcept { return m_text.empty(); }
    [[nodiscard]] bool IsGood() const noexcept { return m_good; }

    bool Take(wchar_t wanted) noexcept
    {
        const bool found = m_text.starts_with(wanted);
        m_text.remove_prefix(found ? 1 : 0);
        return found;
    }

    // That many digits, or asterisks, which give `least`, as does the end of the text where it is allowed.
    int TakeNumber(std::size_t length, int least, bool mayEnd = true) noexcept
    {
        if (m_text.empty() && mayEnd)
        {
            return least;
        }
        const std::wstring_view part = m_text.substr(0, length);
        m_text.remove_prefix(part.size());
        if (part.size() == length && part.find_first_not_of(L'*') == std::wstring_view::npos)
        {
            return least;
        }
        m_good = m_good && part.size() == length && part.find_first_not_of(L"0123456789") == std::wstring_view::npos;
        int number = 0;
        for (std::size_t i = 0; m_good && i < part.size(); ++i)
        {
            number = number * 10 + (part[i] - L'0');
        }
        return number;
    }

private:
    std::wstring_view m_text;
    bool m_good = true;
};

microseconds TakeTime(Parts& parts, bool mayEnd) noexcept
{
    using namespace std::chrono;
    const hours hour{parts.TakeNumber(2, 0, mayEnd)};
    const minutes minute{parts.TakeNumber(2, 0, mayEnd)};
    const seconds second{parts.TakeNumber(2, 0, mayEnd)};
    const microseconds fraction{parts.Take(L'.') ? parts.TakeNumber(6, 0, false) : 0};
    return hour + minute + second + fraction;
}

std::optional<DateTime> ParseInterval(std::wstring_view text) noexcept
{
    Parts parts{text};
    const std::chrono::days day{parts.TakeNumber(8, 0, false)};
    const microseconds time = TakeTime(parts, false);
    const bool ends = parts.Take(L':') && parts.TakeNumber(3, 0, false) == 0 && parts.IsEmpty();
    return ends && parts.IsGood() ? std::optional{DateTime{true, day + time}} : std::nullopt;
}

std::optional<DateTime> ParseMoment(std::wstring_view text) noexcept
{
    using namespace std::chrono;
    Parts parts{text};
    const year y{parts.TakeNumber(4, 1, false)};
    const month m{static_cast<unsigned>(parts.TakeNumber(2, 1))};
    const day d{static_cast<unsigned>(parts.TakeNumber(2, 1))};
    const microseconds time = TakeTime(parts, true);
    const bool west = parts.Take(L'-');
    const minutes offset{west || parts.Take(L'+') ? parts.TakeNumber(3, 0, false) : 0};
    if (!parts.IsGood() || !parts.IsEmpty() || !(y / m / d).ok())
    {
        return std::nullopt;
    }
    return DateTime{false, sys_days{y / m / d}.time_since_epoch() + time + (west ? offset : -offset)};
}

std::optional<DateTime> Parse(std::wstring_view text) noexcept
{
    return text.find(L':') == std::wstring_view::npos ? ParseMoment(text) : ParseInterval(text);
}

} // namespace

bool IsDateTime(std::wstring_view text) noexcept
{
    return Parse(text).has_value();
}

std::optional<int> CompareDateTimes(std::wstring_view a, std::wstring_view b) noexcept
{
    const std::optional<DateTime> first = Parse(a);
    const std::optional<DateTime> second = Parse(b);
    if (!first || !second || first->isInterval != second->isInterval)
    {
        return std::nullopt;
    }
    return first->value < second->value ? -1 : (second->value < first->value ? 1 : 0);
}

} // namespace Zv::Simulator
