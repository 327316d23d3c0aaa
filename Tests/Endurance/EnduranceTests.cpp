// Memory, handles and time stay the same however long a process runs. See docs/testing.md.
//   EnduranceTests.exe             a short run
//   EnduranceTests.exe --million   a million commands and a million events
#include "Logging/Logging.h"
#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Lock.h"
#include "Tests/Endurance/Slope.h"
#include "Tests/Endurance/Workload.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <oleauto.h>
#include <psapi.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <thread>
#include <vector>

namespace Zv::Testing
{

namespace
{

struct Length
{
    std::size_t commands = 21'000;
    std::size_t events = 20'000;
    std::chrono::minutes limit{1};
    // By how much a time may grow over the whole run. Short ones have too few measurements for the noise of a machine
    // that does other things besides.
    double growth = 2;
};
Length g_length;

// The first slices fill caches of the run time and of Windows, and are not looked at.
constexpr std::size_t WarmUp = 4;
constexpr std::size_t Slices = 20;
constexpr std::size_t Threads = 2;

// Private memory of the process, in KiB.
double Memory()
{
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(std::max(counters.PagefileUsage, counters.WorkingSetSize)) / 1024;
}

// The place of the first free handle of the process: it moves up when handles are not closed.
double Handles()
{
    const Tessel::Server::Shared::Handle next{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    return static_cast<double>(reinterpret_cast<std::uintptr_t>(next.Get()) / 4);
}

// Microseconds for each of `count`.
template <class Work>
double Time(std::size_t count, Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / static_cast<double>(count);
}

// Two things that have nothing to do with the module, and take longer when the machine has other work: a computation,
// and a hand-off between two threads and back.
double TimeOfComputation()
{
    constexpr std::size_t count = 20'000;
    return Time(count, [] {
        for (std::size_t i = 0; i < count; ++i)
        {
            SysFreeString(SysAllocString(L"as good as any other work"));
        }
    });
}

double TimeOfHandOff()
{
    constexpr std::size_t count = 500;
    Tessel::Server::Shared::Lock lock;
    Tessel::Server::Shared::Condition changed;
    std::size_t turns = 0; // odd: the other thread's
    const auto play = [&](std::size_t parity) {
        for (std::size_t i = 0; i < count; ++i)
        {
            Tessel::Server::Shared::UniqueLock held{lock};
            changed.Wait(held, [&] { return turns % 2 == parity; });
            ++turns;
            changed.NotifyAll();
        }
    };
    return Time(count, [&] {
        std::thread other{[&] { play(1); }};
        play(0);
        other.join();
    });
}

TEST(Slope, IsThatOfASeriesWithoutItsOutliers)
{
    EXPECT_EQ(Slope({5, 5, 5, 5, 5}), 0);
    EXPECT_EQ(Slope({1, 3, 5, 7, 9}), 2);
    EXPECT_EQ(Slope({1, 2, 300, 4, 5, 6}), 1);
}

struct Series
{
    const char* name;
    const char* unit;
    std::vector<double> values{};
};

TEST(Endurance, MemoryHandlesAndTimeStayTheSame)
{
    const Watchdog watchdog{"endurance", g_length.limit};
    ComMemory::Watch();
    Workload workload;
    std::size_t wrong = 0;
    std::size_t lost = 0;
    Series memory{"memory", "KiB"};
    Series handles{"first free handle", ""};
    Series blocks{"blocks of module", ""};
    Series comBlocks{"blocks of COM", ""};
    Series commandTime{"a command", "us"};
    Series eventTime{"an event", "us"};
    Series commandRatio{"a command", "times a computation"};
    Series eventRatio{"an event", "times a hand-off"};
    const std::size_t commands = g_length.commands / Slices;
    const std::size_t events = g_length.events / Slices;
    for (std::size_t slice = 0; slice < WarmUp + Slices; ++slice)
    {
        const double computation = TimeOfComputation();
        const double command = Time(commands, [&] { wrong += workload.RunCommands(commands, Threads); });
        const double handOff = TimeOfHandOff();
        const double event = Time(events, [&] { lost += workload.RelayEvents(events); });
        if (slice >= WarmUp)
        {
            commandTime.values.push_back(command);
            commandRatio.values.push_back(command / computation);
            eventTime.values.push_back(event);
            eventRatio.values.push_back(event / handOff);
            memory.values.push_back(Memory());
            handles.values.push_back(Handles());
            blocks.values.push_back(static_cast<double>(Workload::Blocks()));
            comBlocks.values.push_back(static_cast<double>(ComMemory::Blocks()));
        }
    }

    std::printf("%zu slices of %zu commands and %zu events:\n", Slices, commands, events);
    for (const Series* const series :
         {&memory, &handles, &blocks, &comBlocks, &commandTime, &commandRatio, &eventTime, &eventRatio})
    {
        std::fputs(DescribeSeries(series->name, series->unit, series->values).c_str(), stdout);
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(Slope(blocks.values), 0);
    EXPECT_EQ(Slope(comBlocks.values), 0);
    EXPECT_GT(Median(handles.values), 0);
    EXPECT_LT(Slope(handles.values) * Slices, 1);
    EXPECT_GT(Median(memory.values), 0);
    // A page in a slice, or a byte in ten commands, would show.
    EXPECT_LT(Slope(memory.values) * 1024, static_cast<double>(commands) / 10 + 4096);
    EXPECT_LT(Slope(commandRatio.values) * Slices, Median(commandRatio.values) * g_length.growth);
    EXPECT_LT(Slope(eventRatio.values) * Slices, Median(eventRatio.values) * g_length.growth);
}

} // namespace

} // namespace Zv::Testing

int main(int count, char** arguments)
{
    ::testing::InitGoogleTest(&count, arguments);
    if (count > 1 && std::string_view{arguments[1]} == "--million")
    {
        Zv::Testing::g_length = {1'000'000, 1'000'000, std::chrono::minutes{60}, 0.5};
    }
    Logging::LogManager::SetProvider(L"the host's");
    return RUN_ALL_TESTS();
}
