#include "Tests/Races/Seeds.h"

#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{

namespace
{

struct Seeds
{
    std::uint64_t first = 1;
    std::uint64_t count = 0; // of a test's own choice
};
Seeds g_seeds;

} // namespace

void ChooseSeeds(std::uint64_t first, std::uint64_t count)
{
    g_seeds = {first, count};
}

std::uint64_t ForEachSeed(std::uint64_t usual, const std::function<void(std::uint64_t seed)>& race)
{
    const std::uint64_t count = g_seeds.count != 0 ? g_seeds.count : usual;
    for (std::uint64_t seed = g_seeds.first; seed < g_seeds.first + count && !::testing::Test::HasFailure(); ++seed)
    {
        const std::string name = "seed " + std::to_string(seed);
        SCOPED_TRACE(name);
        const Watchdog watchdog{name};
        race(seed);
    }
    return count;
}

} // namespace Zv::Testing
