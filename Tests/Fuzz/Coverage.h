// Which ways through the module an input took.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Zv::Fuzz
{

// Of a module that was built with CoverageHook.cpp; any other one shows nothing.
class Coverage
{
public:
    explicit Coverage(HMODULE module);

    [[nodiscard]] bool IsMeasured() const noexcept { return !m_counters.empty(); }

    // Forgets the run before.
    void Begin() noexcept;

    // After a run: whether it took a way, or took one so much more often, that no run did before.
    [[nodiscard]] bool IsNew() noexcept;
    // The same for ways only.
    [[nodiscard]] bool HasNewWay() noexcept;

    // Ways taken by all runs.
    [[nodiscard]] std::size_t Ways() const noexcept;

private:
    std::span<std::uint8_t> m_counters;
    std::vector<std::uint8_t> m_seen; // per counter the orders of magnitude that runs had, one bit each
};

} // namespace Zv::Fuzz
