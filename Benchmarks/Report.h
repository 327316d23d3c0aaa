// The output of a benchmark program: a table for people on standard output, JSON for programs in a file.
#pragma once

#include "Benchmarks/Measure.h"

#include <functional>
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

// One number of a row.
struct Figure
{
    std::string name;
    double value;
};

// What follows the argument `name`; empty when it is not there.
[[nodiscard]] std::string Option(int argumentCount, char** arguments, const char* name);

class Report
{
public:
    // arguments: those of main; "--json FILE" is understood.
    Report(std::string title, int argumentCount, char** arguments);

    void Add(const Comparison& comparison, const Aim& aim = {});
    // A figure that is no comparison; it should be `most` at most.
    void Add(const std::string& name, double value, const std::string& unit, std::optional<double> most = {});
    // Several figures of one thing.
    void AddRow(const std::string& name, const std::vector<Figure>& figures);

    // Writes the JSON file when one was asked for. Returns the exit code of the program.
    [[nodiscard]] int Finish() const;

private:
    std::string m_title;
    std::string m_jsonFile;
    std::vector<std::string> m_json; // one object each
};

// The whole of a program's main: makes the report, runs, prints what is thrown. Returns the exit code.
[[nodiscard]] int Main(const std::string& title, int argumentCount, char** arguments,
                       const std::function<void(Report& report)>& run) noexcept;

} // namespace Zv::Benchmarks
