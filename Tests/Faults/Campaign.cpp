#include "Tests/Faults/Campaign.h"

#include "Tests/Support/Text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

// Of a scenario of more calls than this, only each so manieth is also made to take long, and the scenario runs again
// after each so manieth fault; the other command runs after each.
constexpr std::size_t ManyCalls = 150;
constexpr std::size_t Stride = 7;

// Of one of more calls than this, only the first way of each call is also that of all later ones.
constexpr std::size_t VeryManyCalls = 500;

using Lines = std::multiset<std::wstring>;

// "Warning text" with the names of the companion apps alike.
std::wstring Comparable(std::wstring line)
{
    for (const std::wstring_view app : {L"Chimeboxes", L"Chimebox", L"Lumashade"})
    {
        for (std::size_t at = line.find(app); at != std::wstring::npos; at = line.find(app))
        {
            line.replace(at, app.size(), L"{app}");
        }
    }
    return line;
}

Lines LinesOf(const std::vector<LogLine>& log)
{
    Lines lines;
    for (LogLine line : log)
    {
        line.overload = Overload::Text; // without the context, which is judged by itself
        lines.insert(Comparable(Describe(line)));
    }
    return lines;
}

Lines Minus(const Lines& all, const Lines& others)
{
    Lines left;
    std::ranges::set_difference(all, others, std::inserter(left, left.end()));
    return left;
}

Lines Expected(const Expectation& row, const Way& way)
{
    Lines lines;
    for (const std::wstring& line : row.lines)
    {
        lines.insert(Comparable(FillIn(line, way)));
    }
    return lines;
}

bool IsSubsequence(const std::vector<std::wstring>& part, const std::vector<std::wstring>& whole)
{
    auto at = whole.begin();
    for (const std::wstring& text : part)
    {
        at = std::find(at, whole.end(), text);
        if (at == whole.end())
        {
            return false;
        }
        ++at;
    }
    return true;
}

// Whether one command (several where later calls fail, too), or that of a name, has failed with the code, and no other
// is touched.
bool HasFailed(const Seen& good, const Seen& seen, const Expectation& row, Mode mode)
{
    int failed = 0;
    for (const auto& [name, code] : seen.codes)
    {
        const bool untouched = code == good.codes.at(name);
        if (!untouched && (code != row.code || (!row.of.empty() && row.of != name)))
        {
            return false;
        }
        failed += untouched ? 0 : 1;
    }
    return mode == Mode::Onward ? failed >= 1 : failed == 1;
}

// The response to a command that failed has nothing in it. It comes last, after what went through the callback.
bool IsEmptyHanded(const Seen& good, const Seen& seen)
{
    if (seen.codes.size() != 1)
    {
        return true;
    }
    const std::wstring& response = seen.texts.back();
    const bool empty = response == L"{}" || response == L"no response" || response == L"null response";
    return empty && IsSubsequence({seen.texts.begin(), seen.texts.end() - 1}, good.texts);
}

bool HasEffect(const Seen& good, const Seen& seen, const Expectation& row, Mode mode)
{
    switch (row.effect)
    {
    case Effect::None:
    case Effect::Silence:
        return seen.codes == good.codes && seen.texts == good.texts && !seen.raised;
    case Effect::Less:
        return seen.codes == good.codes && IsSubsequence(seen.texts, good.texts) && !seen.raised;
    case Effect::Other:
        return seen.codes == good.codes && !seen.raised;
    case Effect::Fails:
        return HasFailed(good, seen, row, mode) && IsEmptyHanded(good, seen) && !seen.raised;
    case Effect::Raises:
        return seen.raised;
    }
    return false;
}

// Lines of `left` that are not left by a run without a fault.
std::string LeftBeyond(const std::string& left, const std::string& good)
{
    const auto split = [](const std::string& text) {
        std::multiset<std::string> lines;
        for (std::size_t begin = 0; begin < text.size();)
        {
            const std::size_t end = text.find('\n', begin);
            lines.insert(text.substr(begin, end - begin));
            begin = end == std::string::npos ? end : end + 1;
        }
        return lines;
    };
    std::string beyond;
    const auto allowed = split(good);
    const auto held = split(left);
    std::vector<std::string> difference;
    std::ranges::set_difference(held, allowed, std::back_inserter(difference));
    for (const std::string& line : difference)
    {
        beyond += line + "; ";
    }
    return beyond;
}

std::string Show(const Seen& seen)
{
    std::string text;
    for (const auto& [name, code] : seen.codes)
    {
        text += "    " + name + " = " + Narrow(Format(L"0x%08x", static_cast<unsigned int>(code))) + "\n";
    }
    for (const std::wstring& line : seen.texts)
    {
        text += "    text: " + Narrow(line) + "\n";
    }
    for (const LogLine& line : seen.log)
    {
        text += "    log: " + Narrow(Describe(line)) + "\n";
    }
    return text + (seen.raised ? "    an exception came out\n" : "") +
           (seen.impersonated ? "    the thread still acts as the user\n" : "") +
           (seen.stoppedFromOutside ? "    nothing ended the registration\n" : "") +
           (seen.joins != 0 ? "    joins of COM left: " + std::to_string(seen.joins) + "\n" : "") +
           (seen.heldWhenLeft.empty() ? "" : "    held when COM was left: " + seen.heldWhenLeft);
}

std::string FirstDifference(const std::vector<MadeCall>& a, const std::vector<MadeCall>& b)
{
    const auto [inA, inB] = std::ranges::mismatch(a, b);
    return "calls differ: " + (inA != a.end() ? inA->name : "none") + " and " + (inB != b.end() ? inB->name : "none");
}

} // namespace

Campaign::Campaign(Scenario& scenario) : m_scenario{scenario}
{
    static_cast<void>(m_scenario.Run({})); // the first one binds and allocates what stays
    m_good = m_scenario.Run({});
    const std::vector<MadeCall> calls = m_scenario.Calls();
    const Seen again = m_scenario.Run({});
    if (calls != m_scenario.Calls() || again.codes != m_good.codes || again.texts != m_good.texts ||
        again.left != m_good.left || m_good.raised || m_good.stoppedFromOutside || m_good.joins != 0 ||
        !m_good.heldWhenLeft.empty())
    {
        throw std::runtime_error{"two runs without a fault differ:\n" + Show(m_good) + Show(again) +
                                 FirstDifference(calls, m_scenario.Calls())};
    }
    m_calls = calls.size();
    for (std::size_t index = 0; index < calls.size(); ++index)
    {
        Plan(calls[index]);
        if (index % SamplingStride() == 0)
        {
            m_faults.push_back({calls[index], {}, Mode::Slow});
        }
    }
}

std::size_t Campaign::SamplingStride() const noexcept
{
    return m_calls > ManyCalls ? Stride : 1;
}

void Campaign::Plan(const MadeCall& call)
{
    const Failures* const failures = call.IsOnMachine() ? FailuresOfSite(call.name) : FailuresOf(call.dll, call.name);
    if (failures == nullptr || failures->reason == Failures::NotReached)
    {
        throw std::runtime_error{"the table of failures does not know " + call.name + ", which is called"};
    }
    for (std::size_t way = 0; way < failures->ways.size(); ++way)
    {
        m_faults.push_back({call, failures->ways[way], Mode::Once});
        if (way == 0 || m_calls <= VeryManyCalls)
        {
            m_faults.push_back({call, failures->ways[way], Mode::Onward});
        }
    }
}

std::string Campaign::Judge(const PlannedFault& fault, const Seen& seen) const
{
    std::string complaints;
    const std::string left = LeftBeyond(seen.left, m_good.left);
    const auto mayLeave = [&](const Expectation& row) { return !left.empty() && row.leaves == left; };
    const Lines more = Minus(LinesOf(seen.log), LinesOf(m_good.log));
    const Lines less = Minus(LinesOf(m_good.log), LinesOf(seen.log));
    for (const LogLine& line : seen.log)
    {
        if (line.overload == Overload::Data &&
            (!m_scenario.IsOfClient(line.context.value_or(L"")) || line.reserved != 0))
        {
            complaints += "not of the client: " + Narrow(Describe(line)) + "\n";
        }
    }
    // Where joining failed, COM is left once too often, by contract.
    if (!seen.heldWhenLeft.empty() && seen.joins >= 0)
    {
        complaints += "released after COM was left, if at all: " + seen.heldWhenLeft;
    }
    if (fault.mode == Mode::Slow)
    {
        const bool same =
            HasEffect(m_good, seen, {}, fault.mode) && more.empty() && less.empty() && seen.joins == 0 && left.empty();
        return complaints + (same ? "" : "a slow call changes the outcome\n");
    }

    if (!m_scenario.Struck())
    {
        complaints += "the fault did not strike\n";
    }
    const Group group = m_scenario.OfGroup();
    const auto hr = static_cast<HRESULT>(fault.way.result);
    const std::vector<Expectation> rows = ExpectationsOf(group, fault.call, hr);
    const std::vector<Expectation> later =
        fault.mode == Mode::Onward ? ExpectationsOf(group, fault.call.name) : std::vector<Expectation>{};
    Lines allowed;
    for (const Expectation& row : later)
    {
        allowed.merge(Expected(row, fault.way));
    }
    const auto fits = [&](const Expectation& row) {
        const Lines expected = Expected(row, fault.way);
        const bool goesOn = row.effect == Effect::None;
        const auto onward = [&] {
            const auto same = [&](const Expectation& other) { return HasEffect(m_good, seen, other, fault.mode); };
            return (HasEffect(m_good, seen, row, fault.mode) || std::ranges::any_of(later, same)) &&
                   Minus(expected, more).empty() &&
                   std::ranges::all_of(more, [&](const std::wstring& line) { return allowed.contains(line); });
        };
        const bool outcome =
            fault.mode == Mode::Onward ? onward() : HasEffect(m_good, seen, row, fault.mode) && more == expected;
        const bool joins = seen.joins == row.joins || (fault.mode == Mode::Onward && row.joins != 0 &&
                                                       seen.joins % row.joins == 0 && seen.joins / row.joins > 0);
        const auto mayStay = [](const Expectation& other) { return other.staysImpersonated; };
        const bool acts = seen.impersonated == row.staysImpersonated ||
                          (fault.mode == Mode::Onward && std::ranges::any_of(later, mayStay));
        return outcome && joins && acts && (fault.mode == Mode::Onward || !goesOn || less.empty());
    };
    if (!left.empty() && std::ranges::none_of(rows, mayLeave))
    {
        complaints += "left over: " + left + "\n";
    }
    if (std::ranges::none_of(rows, fits))
    {
        complaints += rows.empty() ? "nothing is known of what this failure does\n" : "not what was expected\n";
    }
    return complaints;
}

std::string Campaign::Try(std::size_t index)
{
    const PlannedFault& fault = m_faults.at(index);
    m_last = m_scenario.Run(fault);
    std::string complaints = Judge(fault, m_last);

    if (!m_scenario.RunGoodCommand())
    {
        complaints += "a good command fails afterwards\n";
    }
    if (m_scenario.LeavesNothingBehind() || index % SamplingStride() != 0)
    {
        return complaints;
    }
    const Seen after = m_scenario.Run({});
    if (after.codes != m_good.codes || after.texts != m_good.texts || after.raised)
    {
        complaints += "the same without a fault comes out differently afterwards:\n" + Show(after);
    }
    if (const std::string left = LeftBeyond(after.left, m_good.left); !left.empty())
    {
        complaints += "left over by a run afterwards: " + left + "\n";
    }
    return complaints;
}

std::string Campaign::DescribeRun() const
{
    return Show(m_last);
}

} // namespace Zv::Testing
