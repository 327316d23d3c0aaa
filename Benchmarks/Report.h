// The output of a benchmark program: a table for people on standard output, JSON for programs in a file.
#pragma once

#include "Benchmarks/Measure.h"

#include <optional>
#include <string>
#include <vector>

namespace Zv::Benchmarks
{

// What a comparison should come to; either may be absent.
struct Aim
{
    std::optional<double> ratio;             // at most
    std::optional<double> extraMicroseconds; // subject minus reference, at most
};

class Report
{
public:
    // arguments: those of main; "--json FILE" is understood.
    Report(std::string title, int argumentCount, char** arguments);

    void Add(const Comparison& comparison, const Aim& aim = {});
    // A figure that is no comparison.
    void Add(const std::string& name, double value, const std::string& unit);

    // Writes the JSON file when one was asked for. Returns the exit code of the program.
    [[nodiscard]] int Finish() const;

private:
    std::string m_title;
    std::string m_jsonFile;
    std::vector<std::string> m_json; // one object each
};

} // namespace Zv::Benchmarks
