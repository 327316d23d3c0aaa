#include "Tests/Fuzz/Coverage.h"

#include "Tests/Fuzz/CoverageMap.h"

#include <algorithm>
#include <bit>

namespace Zv::Fuzz
{

namespace
{

// 1, 2, 3, 4 to 7, 8 to 15, 16 to 31, 32 to 127, more: one bit each; 0: none.
std::uint8_t Magnitude(std::uint8_t count) noexcept
{
    static constexpr std::uint8_t Limits[] = {1, 2, 3, 7, 15, 31, 127};
    if (count == 0)
    {
        return 0;
    }
    const auto* const limit = std::ranges::lower_bound(Limits, count);
    return static_cast<std::uint8_t>(1U << (limit - std::begin(Limits)));
}

} // namespace

Coverage::Coverage(HMODULE module) : m_seen(CoverageMapSize)
{
    if (auto* const map = reinterpret_cast<std::uint8_t*>(GetProcAddress(module, CoverageMapName)))
    {
        m_counters = {map, CoverageMapSize};
    }
}

void Coverage::Begin() noexcept
{
    std::ranges::fill(m_counters, std::uint8_t{0});
}

bool Coverage::IsNew() noexcept
{
    bool isNew = false;
    for (std::size_t i = 0; i < m_counters.size(); ++i)
    {
        if (m_counters[i] != 0)
        {
            const std::uint8_t magnitude = Magnitude(m_counters[i]);
            isNew |= (m_seen[i] & magnitude) == 0;
            m_seen[i] |= magnitude;
        }
    }
    return isNew;
}

bool Coverage::HasNewWay() noexcept
{
    bool isNew = false;
    for (std::size_t i = 0; i < m_counters.size(); ++i)
    {
        if (m_counters[i] != 0)
        {
            isNew |= m_seen[i] == 0;
            m_seen[i] = 0xFF;
        }
    }
    return isNew;
}

std::size_t Coverage::Ways() const noexcept
{
    return static_cast<std::size_t>(std::ranges::count_if(m_seen, [](std::uint8_t seen) { return seen != 0; }));
}

} // namespace Zv::Fuzz
