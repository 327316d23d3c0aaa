// Times two ways of doing the same work, in turn, so that a change of the machine's speed meets both alike.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Zv::Benchmarks
{

// What one comparison came to. Times are microseconds per operation.
struct Comparison
{
    std::string name;
    double subject = 0;   // median over the rounds
    double reference = 0; // likewise
    double ratio = 0;     // median of the rounds' own ratios
    double lowRatio = 0;  // lower and upper quartile of these
    double highRatio = 0;
};

// Each runs its operation so many times.
using Work = std::function<void(std::size_t operations)>;

struct Effort
{
    std::size_t rounds = 31;
    double secondsPerComparison = 2;
};

// Runs both until a round takes long enough to be timed, then `rounds` rounds of each in turn.
[[nodiscard]] Comparison Compare(std::string name, const Work& subject, const Work& reference,
                                 const Effort& effort = {});

// Likewise for what measures itself: each returns microseconds.
[[nodiscard]] Comparison CompareSamples(std::string name, const std::function<double()>& subject,
                                        const std::function<double()>& reference, std::size_t rounds);

[[nodiscard]] double Median(std::vector<double> values);

// Microseconds that the work takes.
[[nodiscard]] double Time(const std::function<void()>& work);

// The exponent of the power of `size` that fits the values best, in the sense of least squares of the logarithms.
[[nodiscard]] double FitExponent(const std::vector<double>& sizes, const std::vector<double>& values);

} // namespace Zv::Benchmarks
