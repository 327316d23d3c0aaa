#include "Host/Client/LegTimes.h"

#include <utility>

namespace Zv::Host
{

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

std::vector<LegTimes::Taken> LegTimes::Since(Clock::time_point begin) const
{
    const Clock::time_point now = Clock::now();
    std::vector<Taken> legs;
    const std::lock_guard held{m_mutex};
    for (const Entry& entry : m_entries)
    {
        if (entry.begin >= begin)
        {
            legs.push_back({entry.name, entry.end.value_or(now) - entry.begin, entry.end.has_value()});
        }
    }
    return legs;
}

} // namespace Zv::Host
