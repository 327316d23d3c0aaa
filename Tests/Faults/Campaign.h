// Runs a scenario once for each fault that it can meet, and judges each run.
#pragma once

#include "Tests/Faults/Expectations.h"
#include "Tests/Faults/Scenario.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Zv::Testing
{

class Campaign
{
public:
    // Runs the scenario without a fault, to learn its calls. Throws std::runtime_error when these runs differ, or when
    // a call is made whose failures are not known.
    explicit Campaign(Scenario& scenario);

    [[nodiscard]] const std::vector<PlannedFault>& Faults() const noexcept { return m_faults; }
    [[nodiscard]] std::size_t Calls() const noexcept { return m_calls; }

    // Runs the fault and then, without one, the scenario again and another command. What was not as expected, in words;
    // empty when all was well.
    [[nodiscard]] std::string Try(std::size_t fault);

    // The run of the last Try, for people.
    [[nodiscard]] std::string DescribeRun() const;

private:
    void Plan(const MadeCall& call);
    [[nodiscard]] std::size_t SamplingStride() const noexcept;
    [[nodiscard]] std::string Judge(const PlannedFault& fault, const Seen& seen) const;

    Scenario& m_scenario;
    Seen m_good;
    Seen m_last;
    std::size_t m_calls = 0;
    std::vector<PlannedFault> m_faults;
};

} // namespace Zv::Testing
