// How time and peak memory grow with the size of what a command works on: the exponent of the power of the size that
// fits best. 1 is linear; nothing should be above it.

#include "Benchmarks/LimitClient.h"
#include "Benchmarks/MemoryMeter.h"
#include "Benchmarks/Report.h"
#include "Benchmarks/Requests.h"
#include "Benchmarks/Subject.h"

#include <rapidjson/document.h>

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Zv::Benchmarks;
using Zv::Simulator::Machine;

constexpr double HighestExponent = 1.1; // linear, with what a busy machine does to a fit

// The least time of several runs of an operation.
struct LeastTime
{
    std::function<void()> run;
    double microseconds = std::numeric_limits<double>::max();

    // Returns how long the repeats took together, in seconds.
    double Measure(std::size_t repeats)
    {
        const double time = Time([&] {
            for (std::size_t i = 0; i < repeats; ++i)
            {
                run();
            }
        });
        microseconds = std::min(microseconds, time / static_cast<double>(repeats));
        return time / 1e6;
    }
};

// One size of a series and the operation on it.
struct Point
{
    std::size_t size;
    LeastTime module;
    std::optional<LeastTime> limit; // where there is one: the same calls without JSON, or the parse alone
    double bytes = 0;               // the most that the module held of its heap at once
};

// From 1/10,000 of the largest in steps of ten; the last step of ten in smaller ones.
std::vector<std::size_t> SizesUpTo(std::size_t largest)
{
    std::vector<std::size_t> sizes;
    for (const std::size_t share : {10000U, 1000U, 100U, 10U})
    {
        sizes.push_back(std::max<std::size_t>(1, largest / share));
    }
    for (const std::size_t share : {15U, 22U, 33U, 47U, 68U, 100U})
    {
        sizes.push_back(largest / 100 * share);
    }
    return sizes;
}

// Over the last step of ten: below, constant parts hide the growth, and portions in which memory is taken.
double FitLargest(const std::vector<Point>& points, const std::function<double(const Point&)>& value)
{
    std::vector<double> sizes;
    std::vector<double> values;
    for (const Point& point : points)
    {
        if (point.size * 10 >= points.back().size)
        {
            sizes.push_back(static_cast<double>(point.size));
            values.push_back(value(point));
        }
    }
    return FitExponent(sizes, values);
}

// sizes in ascending order
void Series(Report& report, const std::string& name, Subject& subject, std::vector<Point> points)
{
    constexpr std::size_t leastRounds = 3;
    constexpr std::size_t mostRounds = 15;
    constexpr double secondsPerSeries = 4;
    for (Point& point : points)
    {
        MemoryMeter meter{subject.Module()};
        point.module.run(); // what is taken once and kept
        meter.StartPeak();
        point.module.run();
        point.bytes = static_cast<double>(std::max<std::size_t>(meter.Peak(), 1));
    }
    double seconds = 0;
    for (std::size_t round = 0; round < leastRounds || (round < mostRounds && seconds < secondsPerSeries); ++round)
    {
        for (Point& point : points)
        {
            // Small sizes are repeated: the clock is too coarse for one.
            const std::size_t repeats = std::max<std::size_t>(1, 1000 / point.size);
            seconds += point.module.Measure(repeats);
            if (point.limit)
            {
                seconds += point.limit->Measure(repeats);
            }
        }
    }
    const bool hasLimit = points.front().limit.has_value();
    for (const Point& point : points)
    {
        std::vector<Figure> figures{{"us", point.module.microseconds}, {"bytes", point.bytes}};
        if (hasLimit)
        {
            figures.push_back({"us limit", point.limit->microseconds});
        }
        report.AddRow(name + ", " + std::to_string(point.size), figures);
    }
    report.Add(name + ", exponent of memory", FitLargest(points, [](const Point& point) { return point.bytes; }), "",
               HighestExponent);
    report.Add(name + ", exponent of time",
               FitLargest(points, [](const Point& point) { return point.module.microseconds; }), "", HighestExponent);
    if (hasLimit)
    {
        report.Add(name + ", the limit's exponent of time",
                   FitLargest(points, [](const Point& point) { return point.limit->microseconds; }), "");
    }
}

void Instances(Report& report, Subject& subject)
{
    const std::vector<std::size_t> sizes = SizesUpTo(10000);
    std::vector<Machine> machines;
    for (const std::size_t size : sizes)
    {
        machines.push_back(MakeMachine(size));
    }
    const auto series = [&](const char* name, FunctionNumber function, const wchar_t* request, auto readAll) {
        std::vector<Point> points;
        for (std::size_t i = 0; i < machines.size(); ++i)
        {
            Machine& machine = machines[i];
            points.push_back({sizes[i],
                              {[&subject, &machine, function, request] {
                                  subject.Use(machine);
                                  subject.Run(function, request, [](wchar_t*) {});
                              }},
                              LeastTime{[limit = LimitClient{machine}, readAll] { readAll(limit); }}});
        }
        Series(report, name, subject, std::move(points));
    };
    const auto readNumbers = [](const LimitClient& limit) { limit.ReadProperty(L"Bench_Item", L"Number"); };
    series("16, instances", FunctionNumber::GetWmiPropertyValue, ItemRequest, readNumbers);
    series("32, instances", FunctionNumber::GetWmiPropertyValues, ItemRequest, readNumbers);
    series("256, instances", FunctionNumber::GetWmiClassObjectText, TextRequest,
           [](const LimitClient& limit) { limit.ReadTexts(L"Bench_Item"); });
}

void RequestSizes(Report& report, Subject& subject)
{
    const auto series = [&](const char* name, auto makeRequest) {
        std::vector<Point> points;
        for (const std::size_t size : SizesUpTo(5000000))
        {
            const std::wstring request = makeRequest(size);
            points.push_back({size,
                              {[&subject, request] {
                                  constexpr auto function = static_cast<unsigned int>(FunctionNumber::SetBiosSetting);
                                  subject.RunAny(function, request); // looks for its keys in vain
                              }},
                              LeastTime{[request] {
                                  rapidjson::GenericDocument<rapidjson::UTF16<wchar_t>> document;
                                  document.Parse(request.c_str());
                              }}});
        }
        Series(report, name, subject, std::move(points));
    };
    series("request, characters of one text",
           [](std::size_t size) { return L"{\"text\":\"" + std::wstring(size, L'x') + L"\"}"; });
    series("request, characters of many members", [](std::size_t size) {
        std::wstring request = L"{\"key\":1";
        while (request.size() < size)
        {
            request += L",\"key\":1";
        }
        return request + L"}";
    });
}

void ResponseSizes(Report& report, Subject& subject)
{
    const std::vector<std::size_t> sizes = SizesUpTo(65500); // 65,535 characters are the limit
    std::vector<Machine> machines;
    std::vector<Point> points;
    for (const std::size_t size : sizes)
    {
        machines.push_back(MakeMachine(1, size));
    }
    for (std::size_t i = 0; i < machines.size(); ++i)
    {
        points.push_back({sizes[i],
                          {[&subject, &machine = machines[i]] {
                              subject.Use(machine);
                              subject.Run(FunctionNumber::GetWmiPropertyValue, ItemTextRequest);
                          }},
                          {}});
    }
    Series(report, "16, characters of the response", subject, std::move(points));
}

void Sessions(Report& report, Subject& subject)
{
    std::vector<Point> points;
    for (const std::size_t size : SizesUpTo(10000))
    {
        points.push_back({size,
                          {[&subject, sessions = std::vector<void*>(size)]() mutable {
                              std::wstring clientId = L"benchmark";
                              for (void*& session : sessions)
                              {
                                  subject.Service().StartSession(clientId.data(), &session);
                              }
                              for (void*& session : sessions)
                              {
                                  subject.Service().EndSession(&session);
                              }
                          }},
                          {}});
    }
    Series(report, "sessions at once", subject, std::move(points));
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Growth: time and peak memory of the module's heap against size; 1 is linear", argumentCount, arguments,
                [&](Report& report) {
                    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
                    auto machine = MakeMachine(1);
                    Subject subject{machine};
                    Instances(report, subject);
                    RequestSizes(report, subject);
                    ResponseSizes(report, subject);
                    Sessions(report, subject);
                });
}
