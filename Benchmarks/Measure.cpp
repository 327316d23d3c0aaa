#include "Benchmarks/Measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

namespace Zv::Benchmarks
{

namespace
{

double Quantile(std::vector<double> values, double share)
{
    const auto index = static_cast<std::size_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index), values.end());
    return values[index];
}

} // namespace

double Median(std::vector<double> values)
{
    return Quantile(std::move(values), 0.5);
}

double Time(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

Comparison Compare(std::string name, const Work& subject, const Work& reference, const Effort& effort)
{
    // The least of three: one that was interrupted must not pass for the length of a round.
    const auto both = [&](std::size_t operations) {
        double least = std::numeric_limits<double>::max();
        for (int i = 0; i < 3; ++i)
        {
            least = std::min(least, Time([&] {
                                 subject(operations);
                                 reference(operations);
                             }));
        }
        return least;
    };
    std::size_t operations = 1;
    const double microsecondsPerRound = effort.secondsPerComparison * 1e6 / static_cast<double>(effort.rounds);
    while (both(operations) < microsecondsPerRound / 2 && operations < (std::size_t{1} << 30))
    {
        operations *= 2;
    }

    const auto each = [operations](const Work& work) {
        return [&work, operations] { return Time([&] { work(operations); }) / static_cast<double>(operations); };
    };
    return CompareSamples(std::move(name), each(subject), each(reference), effort.rounds);
}

Comparison CompareSamples(std::string name, const std::function<double()>& subject,
                          const std::function<double()>& reference, std::size_t rounds)
{
    std::vector<double> subjectTimes;
    std::vector<double> referenceTimes;
    std::vector<double> ratios;
    for (std::size_t round = 0; round < rounds; ++round)
    {
        double first = (round % 2 == 0 ? subject : reference)();
        double second = (round % 2 == 0 ? reference : subject)();
        if (round % 2 != 0)
        {
            std::swap(first, second);
        }
        subjectTimes.push_back(first);
        referenceTimes.push_back(second);
        ratios.push_back(first / second);
    }
    return {std::move(name),       Median(subjectTimes),   Median(referenceTimes),
            Quantile(ratios, 0.5), Quantile(ratios, 0.25), Quantile(ratios, 0.75)};
}

double FitExponent(const std::vector<double>& sizes, const std::vector<double>& values)
{
    const auto count = static_cast<double>(sizes.size());
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumXY = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        const double x = std::log(sizes[i]);
        const double y = std::log(values[i]);
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
    }
    return (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
}

} // namespace Zv::Benchmarks
