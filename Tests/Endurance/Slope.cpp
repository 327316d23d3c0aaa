#include "Tests/Endurance/Slope.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace Zv::Testing
{

double Median(std::vector<double> values)
{
    if (values.empty())
    {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double Slope(const std::vector<double>& values)
{
    std::vector<double> slopes;
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        for (std::size_t j = i + 1; j < values.size(); ++j)
        {
            slopes.push_back((values[j] - values[i]) / static_cast<double>(j - i));
        }
    }
    return Median(std::move(slopes));
}

std::string DescribeSeries(const std::string& name, const std::string& unit, const std::vector<double>& values)
{
    char text[256];
    std::snprintf(text, sizeof text, "%-18s first %10.1f, last %10.1f, median %10.1f %s, slope %+.4f a slice\n",
                  name.c_str(), values.front(), values.back(), Median(values), unit.c_str(), Slope(values));
    return text;
}

} // namespace Zv::Testing
