// Which orders are tried.
#pragma once

#include <cstdint>
#include <functional>

namespace Zv::Testing
{

// For all tests of this process, instead of their own choice.
void ChooseSeeds(std::uint64_t first, std::uint64_t count);

// Tries as many seeds as are usual for the test, or those chosen, under a watchdog each, until one of them fails.
// Returns how many there were.
std::uint64_t ForEachSeed(std::uint64_t usual, const std::function<void(std::uint64_t seed)>& race);

} // namespace Zv::Testing
