#include "Tests/Faults/FaultBox.h"

#include "Simulator/Description/Site.h"
#include "Tests/Support/Text.h"

#include <cerrno>
#include <limits>

namespace Zv::Testing
{

namespace
{

// How many calls of a kind fail where they would be tried for ever, as a wait is.
constexpr int LongestWave = 1000;

constexpr DWORD SlowCallMilliseconds = 1;

} // namespace

std::string PlannedFault::Describe() const
{
    std::string text = call.name + (call.about.empty() ? "" : "(" + Narrow(call.about) + ")") + ", call " +
                       std::to_string(call.number) + " of " + std::to_string(call.last);
    if (mode == Mode::Slow)
    {
        return text + ", takes long";
    }
    return text + (mode == Mode::Onward ? " and every later one" : "") + ", gives " + way.Describe();
}

void FaultBox::Arm(const std::optional<PlannedFault>& fault)
{
    m_fault = fault;
    m_struck = false;
    m_ofSupply = 0;
    if (!fault)
    {
        m_made.clear();
        m_machine.RecordCalls(true);
    }
    else if (fault->call.IsOnMachine())
    {
        Simulator::Fault effect;
        effect.site = *Simulator::SiteByName(fault->call.name);
        effect.first = static_cast<unsigned>(fault->call.number);
        effect.count = fault->mode == Mode::Onward ? 0 : 1;
        effect.status = fault->mode == Mode::Slow ? S_OK : static_cast<HRESULT>(fault->way.result);
        effect.done = fault->way.done;
        effect.empty = fault->mode != Mode::Slow && SUCCEEDED(static_cast<HRESULT>(fault->way.result));
        effect.delay = fault->mode == Mode::Slow ? SlowCallMilliseconds : 0;
        m_machine.AddFault(effect);
        m_callsBefore = m_machine.CallCount(effect.site);
    }
    else
    {
        m_supply = SupplyOf(fault->call.name);
    }
    m_armed = true;
}

void FaultBox::Disarm()
{
    m_armed = false;
    m_machine.ClearFaults();
    if (m_fault)
    {
        if (m_fault->call.IsOnMachine())
        {
            const std::size_t calls = m_machine.CallCount(*Simulator::SiteByName(m_fault->call.name)) - m_callsBefore;
            m_struck = calls >= static_cast<std::size_t>(m_fault->call.number);
        }
        return;
    }
    m_calls.clear();
    std::map<std::string, int> numbers;
    std::map<std::string_view, int> supplies;
    for (const GatedImport* const import : m_made)
    {
        m_calls.push_back(
            {import->dll, import->name, {}, ++numbers[import->name], 0, ++supplies[SupplyOf(import->name)]});
    }
    for (const Simulator::CallRecord& record : m_machine.Calls())
    {
        const std::string name{SiteName(record.site)};
        m_calls.push_back({{}, name, record.about, ++numbers[name], 0, 0});
    }
    m_machine.RecordCalls(false);
    for (MadeCall& call : m_calls)
    {
        call.last = numbers[call.name];
    }
}

std::vector<MadeCall> FaultBox::Calls() const
{
    return m_calls;
}

bool FaultBox::Answers(const GatedImport& import, const CallArguments& arguments, std::uint64_t& result) noexcept
{
    if (!m_armed)
    {
        return false;
    }
    const DWORD lastError = GetLastError();
    if (!m_fault)
    {
        m_made.push_back(&import);
        SetLastError(lastError);
        return false;
    }
    if (m_fault->call.IsOnMachine() || SupplyOf(import.name) != m_supply)
    {
        return false;
    }
    const int number = ++m_ofSupply;
    const int first = m_fault->call.ofSupply;
    const int end = m_fault->mode == Mode::Onward ? first + LongestWave : first + 1;
    if (number < first || number >= end)
    {
        return false;
    }
    m_struck = true;
    if (m_fault->mode == Mode::Slow)
    {
        Sleep(SlowCallMilliseconds);
        SetLastError(lastError);
        return false;
    }
    const Way& way = m_fault->way;
    if (way.done)
    {
        static_cast<void>(import.Make(arguments));
    }
    result = way.result;
    if (way.cError != 0)
    {
        errno = way.cError;
    }
    SetLastError(way.error != 0 ? way.error : lastError);
    return true;
}

} // namespace Zv::Testing
