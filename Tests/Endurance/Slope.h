// Whether a series of measurements grows.
#pragma once

#include <string>
#include <vector>

namespace Zv::Testing
{

[[nodiscard]] double Median(std::vector<double> values);

// Growth from one measurement to the next: the median of the slopes between all pairs, which a few outliers do not
// move.
[[nodiscard]] double Slope(const std::vector<double>& values);

// "memory: 5120 KiB, 0.031 KiB a slice": the median and the slope.
[[nodiscard]] std::string DescribeSeries(const std::string& name, const std::string& unit,
                                         const std::vector<double>& values);

} // namespace Zv::Testing
