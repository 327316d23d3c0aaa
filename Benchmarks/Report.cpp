#include "Benchmarks/Report.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <utility>

namespace Zv::Benchmarks
{

namespace
{

std::string Number(double value)
{
    constexpr double leastShown = 1e-9; // a fit of a constant gives almost 0
    char text[40];
    if (value == std::trunc(value))
    {
        std::snprintf(text, sizeof text, "%.0f", value); // a count
    }
    else
    {
        std::snprintf(text, sizeof text, "%.6g", std::fabs(value) < leastShown ? 0.0 : value);
    }
    return text;
}

// Names are the programs' own: no character in them needs escaping.
std::string Quoted(const std::string& text)
{
    return '"' + text + '"';
}

std::string Verdict(bool met)
{
    return met ? "  meets " : "  MISSES ";
}

} // namespace

std::string Option(int argumentCount, char** arguments, const char* name)
{
    for (int i = 1; i + 1 < argumentCount; ++i)
    {
        if (std::strcmp(arguments[i], name) == 0)
        {
            return arguments[i + 1];
        }
    }
    return {};
}

Report::Report(std::string title, int argumentCount, char** arguments)
    : m_title{std::move(title)},
      m_jsonFile{Option(argumentCount, arguments, "--json")}
{
    std::printf("%s\n", m_title.c_str());
    std::fflush(stdout);
}

void Report::Add(const Comparison& comparison, const Aim& aim)
{
    const double extra = comparison.subject - comparison.reference;
    std::string verdict;
    if (aim.ratio)
    {
        verdict += Verdict(comparison.ratio <= *aim.ratio) + Number(*aim.ratio) + "x";
    }
    if (aim.extraMicroseconds)
    {
        verdict += Verdict(extra <= *aim.extraMicroseconds) + "+" + Number(*aim.extraMicroseconds) + " us";
    }
    std::printf("  %-44s %10.3f us  reference %10.3f us  +%8.3f us  ratio %6.3f (%.3f to %.3f)%s\n",
                comparison.name.c_str(), comparison.subject, comparison.reference, extra, comparison.ratio,
                comparison.lowRatio, comparison.highRatio, verdict.c_str());
    std::fflush(stdout);
    m_json.push_back("{\"name\":" + Quoted(comparison.name) + ",\"subject_us\":" + Number(comparison.subject) +
                     ",\"reference_us\":" + Number(comparison.reference) + ",\"ratio\":" + Number(comparison.ratio) +
                     ",\"ratio_low\":" + Number(comparison.lowRatio) +
                     ",\"ratio_high\":" + Number(comparison.highRatio) + "}");
}

void Report::Add(const std::string& name, double value, const std::string& unit, std::optional<double> most)
{
    std::string verdict;
    if (most)
    {
        verdict = Verdict(value <= *most) + Number(*most);
    }
    std::printf("  %-44s %10s %s%s\n", name.c_str(), Number(value).c_str(), unit.c_str(), verdict.c_str());
    std::fflush(stdout);
    m_json.push_back("{\"name\":" + Quoted(name) + ",\"value\":" + Number(value) + ",\"unit\":" + Quoted(unit) + "}");
}

void Report::AddRow(const std::string& name, const std::vector<Figure>& figures)
{
    std::printf("  %-44s", name.c_str());
    std::string json = "{\"name\":" + Quoted(name);
    for (const Figure& figure : figures)
    {
        std::printf(" %10s %s", Number(figure.value).c_str(), figure.name.c_str());
        json += "," + Quoted(figure.name) + ":" + Number(figure.value);
    }
    std::printf("\n");
    std::fflush(stdout);
    m_json.push_back(json + "}");
}

int Report::Finish() const
{
    if (m_jsonFile.empty())
    {
        return 0;
    }
    std::ofstream file{m_jsonFile};
    file << "{\"title\":" << Quoted(m_title) << ",\"figures\":[";
    for (std::size_t i = 0; i < m_json.size(); ++i)
    {
        file << (i == 0 ? "\n" : ",\n") << m_json[i];
    }
    file << "\n]}\n";
    file.flush();
    if (!file)
    {
        std::fprintf(stderr, "cannot write %s\n", m_jsonFile.c_str());
        return 1;
    }
    return 0;
}

int Main(const std::string& title, int argumentCount, char** arguments,
         const std::function<void(Report& report)>& run) noexcept
{
    try
    {
        Report report{title, argumentCount, arguments};
        run(report);
        return report.Finish();
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}

} // namespace Zv::Benchmarks
