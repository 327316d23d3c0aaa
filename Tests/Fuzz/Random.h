// The fuzzer's dice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

namespace Zv::Fuzz
{

class Random
{
public:
    explicit Random(std::uint64_t seed) : m_engine{seed} {}

    // From 0 to count - 1; 0 for none.
    std::size_t Below(std::size_t count) { return count == 0 ? 0 : m_engine() % count; }
    bool OneIn(std::size_t count) { return Below(count) == 0; }

    template <class Container>
    auto& Of(Container& container)
    {
        return container[Below(std::size(container))];
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace Zv::Fuzz
