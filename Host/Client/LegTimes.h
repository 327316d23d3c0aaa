// What each leg of the program's way took, for --time.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

// May be used by several threads: legs may overlap.
class LegTimes
{
public:
    using Clock = std::chrono::steady_clock; // the performance counter

    // Lasts from its construction to its destruction.
    class Leg
    {
    public:
        Leg(LegTimes& times, std::string name);
        Leg(const Leg&) = delete;
        Leg& operator=(const Leg&) = delete;
        ~Leg();

    private:
        LegTimes& m_times;
        const std::size_t m_place;
    };

    // The legs that began after that time, in this order. One that has not ended has what it took so far.
    struct Taken
    {
        std::string name;
        Clock::duration time;
        bool hasEnded;
    };
    [[nodiscard]] std::vector<Taken> Since(Clock::time_point begin) const;

private:
    struct Entry
    {
        std::string name;
        Clock::time_point begin;
        std::optional<Clock::time_point> end;
    };

    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries; // guarded by m_mutex
};

} // namespace Zv::Host
