#include "Simulator/Cim/NearestName.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace Zv::Simulator
{

namespace
{

char Upper(char c) noexcept
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Levenshtein's distance, one row of his table at a time.
std::size_t Distance(std::string_view one, std::string_view other)
{
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i)
    {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < other.size(); ++j)
        {
            const std::size_t replaced = diagonal + (Upper(one[i]) == Upper(other[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string_view NearestName(std::string_view text, std::span<const std::string_view> names)
{
    return *std::ranges::min_element(names, {}, [&](std::string_view name) { return Distance(text, name); });
}

} // namespace Zv::Simulator
