// Runs campaigns in a process of their own, which may crash or hang: the run then goes on behind that fault.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace Zv::Testing
{

struct FaultRunResult
{
    std::size_t scenarios = 0;
    std::size_t calls = 0;
    std::size_t faults = 0;
    std::size_t complaints = 0;          // told on standard output
    std::vector<std::string> breakdowns; // crashes and hangs, each with its fault
};

// Runs all faults of the scenarios in processes of this program. limit: what a single fault may take.
[[nodiscard]] FaultRunResult RunFaults(const std::vector<std::string>& scenarios,
                                       std::chrono::milliseconds limit = std::chrono::seconds{30});

// The other end, for main(): runs what RunFaults has started this process for. Returns the exit code.
[[nodiscard]] int ContinueFaultRun(const std::string& arguments);

// Prints the faults of one scenario, each with its number.
void ListFaults(const std::string& scenario);

// Runs one fault in this process and tells everything about it. Returns the exit code.
[[nodiscard]] int ReplayFault(const std::string& scenario, std::size_t fault);

} // namespace Zv::Testing
