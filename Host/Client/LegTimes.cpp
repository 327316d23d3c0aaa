#include "Host/Client/LegTimes.h"

#include <cstdio>

namespace Zv::Host
{

namespace
{

// "12.345", with blanks in front that align it.
Table::Cell Milliseconds(LegTimes::Clock::duration time)
{
    char text[32];
    static_cast<void>(
        std::snprintf(text, sizeof text, "%12.3f", std::chrono::duration<double, std::milli>{time}.count()));
    Table::Cell cell{text};
    cell.json = cell.text.substr(cell.text.find_first_not_of(' '));
    return cell;
}

} // namespace

LegTimes::Leg::Leg(LegTimes& times, std::string name)
    : m_times{times},
      m_place{[&] {
          const std::lock_guard held{times.m_mutex};
          times.m_entries.push_back({std::move(name), Clock::now(), {}});
          return times.m_entries.size() - 1;
      }()}
{
}

LegTimes::Leg::~Leg()
{
    const std::lock_guard held{m_times.m_mutex};
    m_times.m_entries[m_place].end = Clock::now();
}

Table LegTimes::Since(Clock::time_point begin) const
{
    const Clock::time_point now = Clock::now();
    Table table{{"leg", "milliseconds"}};
    const std::lock_guard held{m_mutex};
    for (const Entry& entry : m_entries)
    {
        if (entry.begin >= begin)
        {
            table.Add(
                {entry.name + (entry.end ? "" : ", not ended"), Milliseconds(entry.end.value_or(now) - entry.begin)});
        }
    }
    table.Add({"whole", Milliseconds(now - begin)});
    return table;
}

} // namespace Zv::Host
