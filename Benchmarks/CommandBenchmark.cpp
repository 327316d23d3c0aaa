// Each command of the module against the limit: the same COM calls without JSON.

#include "Benchmarks/LimitClient.h"
#include "Benchmarks/Report.h"
#include "Benchmarks/Requests.h"
#include "Benchmarks/Subject.h"

#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace Zv::Benchmarks;

constexpr double LargestRatio = 1.10;          // where data dominates
constexpr double LargestExtraMicroseconds = 5; // where it does not

// The same work on several threads at once, each an equal share of the operations.
Work OnThreads(std::size_t count, Work work)
{
    if (count == 1)
    {
        return work;
    }
    return [count, work = std::move(work)](std::size_t operations) {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < count; ++i)
        {
            threads.emplace_back([&] { work((operations + count - 1) / count); });
        }
    };
}

Work Repeat(std::function<void()> operation)
{
    return [operation = std::move(operation)](std::size_t operations) {
        for (std::size_t i = 0; i < operations; ++i)
        {
            operation();
        }
    };
}

struct Case
{
    std::string name;
    std::function<void()> module;
    std::function<void()> limit;
    Aim aim;
};

void RunCases(Report& report, const std::vector<Case>& cases)
{
    for (const std::size_t threads : {std::size_t{1}, std::size_t{2}})
    {
        for (const Case& c : cases)
        {
            report.Add(Compare(c.name + (threads == 1 ? ", 1 thread" : ", 2 threads"),
                               OnThreads(threads, Repeat(c.module)), OnThreads(threads, Repeat(c.limit)), {21, 1.2}),
                       c.aim);
        }
    }
}

void FirmwareAndSettings(Report& report)
{
    auto machine = MakeMachine(1);
    Subject subject{machine};
    const LimitClient limit{machine};

    std::vector<Case> cases;
    for (const std::size_t size : {0U, 4U, 128U, 1024U, 4096U})
    {
        cases.push_back({"2, firmware command, " + std::to_string(size) + " bytes",
                         [&, request = FirmwareRequest(size, size)] {
                             subject.Run(FunctionNumber::ExecuteBiosWmiCommand, request);
                         },
                         [&, input = std::vector<unsigned char>(size, 0x5a), size] {
                             static_cast<void>(limit.FirmwareCommand(input, size));
                         },
                         size == 4096 ? Aim{LargestRatio, {}}
                         : size <= 4  ? Aim{{}, LargestExtraMicroseconds}
                                      : Aim{}});
    }
    cases.push_back(
        {"2, 4096 bytes, limit with base64",
         [&, request = FirmwareRequest(4096, 4096)] { subject.Run(FunctionNumber::ExecuteBiosWmiCommand, request); },
         [&, input = FirmwareInput(4096)] { static_cast<void>(limit.FirmwareCommand(input, 4096)); },
         {LargestRatio, {}}});
    cases.push_back({"64, change a setting",
                     [&] { subject.Run(FunctionNumber::SetBiosSetting, SettingRequest); },
                     [&] { limit.Set(L"Fan", L"Off"); },
                     {{}, LargestExtraMicroseconds}});
    cases.push_back({"128, restore defaults",
                     [&] { subject.Run(FunctionNumber::SetBiosSystemDefaults, L"{}"); },
                     [&] { limit.Set(nullptr, nullptr); },
                     {{}, LargestExtraMicroseconds}});
    RunCases(report, cases);
}

void Queries(Report& report, std::size_t items)
{
    auto machine = MakeMachine(items);
    Subject subject{machine};
    const LimitClient limit{machine};
    const Aim aim = items == 1 ? Aim{{}, LargestExtraMicroseconds} : items == 10000 ? Aim{LargestRatio, {}} : Aim{};
    const std::string count = ", " + std::to_string(items) + " instances";

    const auto readNumbers = [&] { limit.ReadProperty(L"Bench_Item", L"Number"); };
    RunCases(report,
             {
                 {"16, property" + count, [&] { subject.Run(FunctionNumber::GetWmiPropertyValue, ItemRequest); },
                  readNumbers, aim},
                 {"32, properties" + count, [&] { subject.Run(FunctionNumber::GetWmiPropertyValues, ItemRequest); },
                  readNumbers, aim},
                 {"256, texts" + count, [&] { subject.Run(FunctionNumber::GetWmiClassObjectText, TextRequest); },
                  [&] { limit.ReadTexts(L"Bench_Item"); }, aim},
             });
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Commands: the module over a client that makes the same COM calls without JSON", argumentCount,
                arguments, [&](Report& report) {
                    CoInitializeEx(nullptr, COINIT_MULTITHREADED); // as a host does: joining COM is cheap from then on
                    FirmwareAndSettings(report);
                    for (const std::size_t items : {1U, 100U, 10000U})
                    {
                        Queries(report, items);
                    }
                });
}
