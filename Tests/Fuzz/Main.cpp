// Feeds the module with inputs.
//   usage: CommandFuzzer replay PLACE...
//             runs the built-in seeds and every input of the files and folders
//          CommandFuzzer fuzz MODULE SECONDS SEED FOUND PLACE...
//             changes them at random and keeps what takes new ways through the instrumented module in the folder FOUND
//          CommandFuzzer choose MODULE INTO PLACE...
//             copies the fewest of them that take all their ways together to the folder INTO
// Ends with 0, or with 88 at the first input under which something is wrong: it lies in FOUND or the current folder
// then.
#include "Tests/Fuzz/Corpus.h"
#include "Tests/Fuzz/Coverage.h"
#include "Tests/Fuzz/Findings.h"
#include "Tests/Fuzz/Mutator.h"
#include "Tests/Fuzz/Target.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Zv;
using namespace Zv::Fuzz;

using Paths = std::vector<std::filesystem::path>;

constexpr std::size_t LargestKept = 16384; // bytes of an input that is kept in a file

std::vector<Input> LoadAll(const Paths& places)
{
    std::vector<Input> inputs = Seeds();
    for (const std::filesystem::path& place : places)
    {
        const std::vector<Input> loaded = Load(place);
        inputs.insert(inputs.end(), loaded.begin(), loaded.end());
    }
    return inputs;
}

class Runner
{
public:
    Runner(const std::filesystem::path& module, const std::filesystem::path& found)
        : m_findings{found},
          m_target{module},
          m_coverage{m_target.Handle()}
    {
    }

    void Run(const Input& input)
    {
        m_findings.Begin(input);
        m_coverage.Begin();
        if (const std::string complaint = m_target.Run(input); !complaint.empty())
        {
            Findings::End(complaint.c_str());
        }
        ++m_runs;
    }

    [[nodiscard]] Coverage& Ways() noexcept { return m_coverage; }
    [[nodiscard]] unsigned long long Runs() const noexcept { return m_runs; }

private:
    Findings m_findings;
    Target m_target;
    Coverage m_coverage;
    unsigned long long m_runs = 0;
};

void Replay(const Paths& places)
{
    Runner runner{Testing::ModuleFolder() / "WMIService.dll", "."};
    for (const Input& input : LoadAll(places))
    {
        runner.Run(input);
    }
    std::printf("%llu inputs, nothing found\n", runner.Runs());
}

// What was found last leads on; what is large takes long, and so its turn is rare.
const Input& ChooseParent(const std::vector<Input>& pool, Random& random)
{
    constexpr std::size_t Large = 8192;
    const std::size_t newest = random.OneIn(3) ? std::min<std::size_t>(pool.size(), 32) : pool.size();
    const Input* parent = nullptr;
    do
    {
        parent = &pool[pool.size() - newest + random.Below(newest)];
    } while (SizeOf(*parent) > Large && !random.OneIn(200));
    return *parent;
}

void FuzzFor(const std::filesystem::path& module, std::chrono::seconds limit, std::uint64_t seed,
             const std::filesystem::path& found, const Paths& places)
{
    Runner runner{module, found};
    if (!runner.Ways().IsMeasured())
    {
        throw std::runtime_error{module.string() + " is not instrumented"};
    }
    std::vector<Input> pool;
    for (const Input& input : LoadAll(places))
    {
        runner.Run(input);
        if (runner.Ways().IsNew())
        {
            pool.push_back(input);
        }
    }
    const std::size_t before = pool.size();
    const std::size_t waysBefore = runner.Ways().Ways();
    const unsigned long long runsBefore = runner.Runs();
    std::printf("seed %llu: %llu inputs take %zu ways, %zu of them are kept\n", static_cast<unsigned long long>(seed),
                runsBefore, waysBefore, before);

    Random random{seed};
    const auto begin = std::chrono::steady_clock::now();
    auto report = begin + std::chrono::seconds{60};
    for (auto now = begin; now < begin + limit; now = std::chrono::steady_clock::now())
    {
        const Input& parent = ChooseParent(pool, random);
        const Input input = Mutate(parent, random.Of(pool), random);
        runner.Run(input);
        if (runner.Ways().IsNew())
        {
            pool.push_back(input);
            if (SizeOf(input) <= LargestKept)
            {
                Save(found, input);
            }
        }
        if (now >= report)
        {
            std::printf("%llu runs, %zu ways, %zu inputs\n", runner.Runs(), runner.Ways().Ways(), pool.size());
            std::fflush(stdout);
            report += std::chrono::seconds{60};
        }
    }
    std::printf("%llu runs in %lld s, %zu new ways, %zu new inputs, nothing found\n", runner.Runs() - runsBefore,
                static_cast<long long>(limit.count()), runner.Ways().Ways() - waysBefore, pool.size() - before);
}

void Choose(const std::filesystem::path& module, const std::filesystem::path& into, const Paths& places)
{
    Runner runner{module, "."};
    for (const Input& seed : Seeds())
    {
        runner.Run(seed);
        static_cast<void>(runner.Ways().HasNewWay());
    }
    std::size_t chosen = 0;
    for (const std::filesystem::path& place : places)
    {
        for (const Input& input : Load(place))
        {
            runner.Run(input);
            if (runner.Ways().HasNewWay())
            {
                Save(into, input);
                ++chosen;
            }
        }
    }
    std::printf("%zu of %llu inputs take all %zu ways\n", chosen, runner.Runs(), runner.Ways().Ways());
}

} // namespace

extern "C" int wmain(int argc, wchar_t** argv)
{
    try
    {
        const Paths arguments(argv + 1, argv + argc);
        const std::string mode = arguments.empty() ? "" : arguments[0].string();
        const auto rest = [&arguments](std::size_t first) {
            return Paths(arguments.begin() + static_cast<std::ptrdiff_t>(first), arguments.end());
        };
        if (mode == "replay")
        {
            Replay(rest(1));
        }
        else if (mode == "fuzz" && arguments.size() >= 5)
        {
            FuzzFor(arguments[1], std::chrono::seconds{std::stoll(arguments[2].string())},
                    std::stoull(arguments[3].string()), arguments[4], rest(5));
        }
        else if (mode == "choose" && arguments.size() >= 3)
        {
            Choose(arguments[1], arguments[2], rest(3));
        }
        else
        {
            std::fprintf(stderr, "usage: CommandFuzzer replay PLACE... | fuzz MODULE SECONDS SEED FOUND PLACE... | "
                                 "choose MODULE INTO PLACE...\n");
            return 2;
        }
        return 0;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
