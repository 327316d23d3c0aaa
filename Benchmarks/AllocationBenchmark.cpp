// What each command takes of memory, counted exactly: it does not depend on the machine. With --golden FILE the counts
// are compared with those in the file, with --write FILE they are written there.

#include "Benchmarks/LimitClient.h"
#include "Benchmarks/MemoryMeter.h"
#include "Benchmarks/Registration.h"
#include "Benchmarks/Report.h"
#include "Benchmarks/Requests.h"
#include "Benchmarks/Subject.h"

#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Zv::Benchmarks;

struct Bench
{
    explicit Bench(std::size_t items) : machine{MakeMachine(items)}, subject{machine}, meter{subject.Module()} {}

    Zv::Simulator::Machine machine;
    Subject subject;
    MemoryMeter meter;
};

using Column = std::pair<const char*, std::size_t>;

std::vector<Column> Columns(const MemoryTally& tally)
{
    return {{"blocks", tally.blocks},          {"bytes", tally.blockBytes}, {"BSTRs", tally.strings},
            {"BSTR-bytes", tally.stringBytes}, {"arrays", tally.arrays},    {"array-bytes", tally.arrayBytes}};
}

// A line of the golden file.
template <class Cell>
std::string Line(const std::string& name, const std::vector<Cell>& cells)
{
    std::ostringstream line;
    line << std::left << std::setw(28) << name << std::right;
    for (const Cell& cell : cells)
    {
        line << std::setw(13) << cell;
    }
    return line.str();
}

// The counts of all commands, printed and as the golden file has them.
class Counts
{
public:
    explicit Counts(Report& report) : m_report{report}
    {
        std::vector<const char*> names;
        for (const auto& [name, value] : Columns({}))
        {
            names.push_back(name);
        }
        m_lines.push_back(Line("# command", names));
    }

    void Add(const MemoryMeter& meter, const std::string& name, const std::function<void()>& run)
    {
        const auto count = [&] {
            const MemoryTally before = meter.Count();
            run();
            return meter.Count() - before;
        };
        count(); // what is taken once and kept
        count();
        const MemoryTally tally = count();
        if (count() != tally)
        {
            throw std::runtime_error{name + ": two runs of the same command differ"};
        }
        std::vector<Figure> figures;
        std::vector<std::size_t> values;
        for (const auto& [column, value] : Columns(tally))
        {
            figures.push_back({column, static_cast<double>(value)});
            values.push_back(value);
        }
        m_report.AddRow(name, figures);
        m_lines.push_back(Line(name, values));
    }

    [[nodiscard]] const std::vector<std::string>& Lines() const noexcept { return m_lines; }

private:
    Report& m_report;
    std::vector<std::string> m_lines;
};

void CountSessions(Counts& counts, Bench& bench)
{
    counts.Add(bench.meter, "session, start and end", [&] {
        std::wstring clientId = L"benchmark";
        void* session = nullptr;
        bench.subject.Service().StartSession(clientId.data(), &session);
        bench.subject.Service().EndSession(&session);
    });
    counts.Add(bench.meter, "3, no such function", [&] { bench.subject.RunAny(3, L"{}"); });
    counts.Add(bench.meter, "16, not JSON", [&] { bench.subject.RunAny(16, L"{"); });
}

void CountFirmware(Counts& counts, Bench& bench)
{
    for (const std::size_t size : {0U, 4U, 128U, 1024U, 4096U})
    {
        const std::wstring request = FirmwareRequest(size, size);
        counts.Add(bench.meter, "2, " + std::to_string(size) + " bytes each way",
                   [&] { bench.subject.Run(FunctionNumber::ExecuteBiosWmiCommand, request); });
    }
    counts.Add(bench.meter, "64, change a setting",
               [&] { bench.subject.Run(FunctionNumber::SetBiosSetting, SettingRequest); });
    counts.Add(bench.meter, "128, restore defaults",
               [&] { bench.subject.Run(FunctionNumber::SetBiosSystemDefaults, L"{}"); });
}

void CountEvents(Counts& counts, Bench& bench)
{
    const Zv::Tessel::Server::Shared::Handle seen{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    const Registration registration{bench.subject, bench.machine, [&seen](wchar_t*) { SetEvent(seen.Get()); }};
    const auto event = LimitClient{bench.machine}.MakeEvent(65542, 7);
    counts.Add(bench.meter, "4, one event", [&] {
        IWbemClassObject* object = event.Get();
        registration.Sink().Indicate(1, &object);
        WaitForSingleObject(seen.Get(), INFINITE); // the callback comes after the last allocation
    });
}

void CountQueries(Counts& counts, Bench& bench, std::size_t items)
{
    const std::string instances = std::to_string(items) + (items == 1 ? " instance" : " instances");
    counts.Add(bench.meter, "16, " + instances,
               [&] { bench.subject.Run(FunctionNumber::GetWmiPropertyValue, ItemRequest); });
    counts.Add(bench.meter, "32, " + instances,
               [&] { bench.subject.Run(FunctionNumber::GetWmiPropertyValues, ItemRequest); });
    counts.Add(bench.meter, "256, " + instances,
               [&] { bench.subject.Run(FunctionNumber::GetWmiClassObjectText, TextRequest, [](wchar_t*) {}); });
}

std::vector<std::string> ReadLines(const std::string& fileName)
{
    std::ifstream file{fileName};
    if (!file)
    {
        throw std::runtime_error{"cannot read " + fileName};
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

void WriteLines(const std::string& fileName, const std::vector<std::string>& lines)
{
    std::ofstream file{fileName, std::ios::binary};
    for (const std::string& line : lines)
    {
        file << line << '\n';
    }
    file.flush();
    if (!file)
    {
        throw std::runtime_error{"cannot write " + fileName};
    }
}

// Prints every line that one has and the other has not.
bool Agree(const std::vector<std::string>& golden, const std::vector<std::string>& now)
{
    const auto print = [](const char* sign, const std::vector<std::string>& lines,
                          const std::vector<std::string>& others) {
        for (const std::string& line : lines)
        {
            if (std::ranges::find(others, line) == others.end())
            {
                std::cerr << sign << line << '\n';
            }
        }
    };
    print("- ", golden, now);
    print("+ ", now, golden);
    return golden == now;
}

void CountAll(Counts& counts)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    for (const std::size_t items : {1U, 100U, 10000U})
    {
        Bench bench{items};
        if (items == 1)
        {
            CountSessions(counts, bench);
            CountFirmware(counts, bench);
            CountEvents(counts, bench);
        }
        CountQueries(counts, bench, items);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const char* const title = "Memory: what each command takes, counted at the module's imports";
    return Main(title, argumentCount, arguments, [&](Report& report) {
        Counts counts{report};
        CountAll(counts);
        if (const std::string file = Option(argumentCount, arguments, "--write"); !file.empty())
        {
            WriteLines(file, counts.Lines());
        }
        if (const std::string file = Option(argumentCount, arguments, "--golden");
            !file.empty() && !Agree(ReadLines(file), counts.Lines()))
        {
            throw std::runtime_error{"the counts differ from " + file +
                                     "; where that is meant, write it anew: AllocationBenchmark --write FILE"};
        }
    });
}
