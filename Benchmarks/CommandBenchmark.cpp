// Each command of the module against the limit: the same COM calls without JSON.

#include "Benchmarks/Commands.h"
#include "Benchmarks/Report.h"

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

// Where data dominates the ratio counts, where there is hardly any the time beside it.
Aim AimOf(const Command& command)
{
    constexpr std::size_t smallest = 4;
    constexpr std::size_t largest = 4096;
    return command.size >= largest    ? Aim{LargestRatio, {}}
           : command.size <= smallest ? Aim{{}, LargestExtraMicroseconds}
                                      : Aim{};
}

void Run(Report& report, const std::vector<Command>& commands)
{
    for (const std::size_t threads : {std::size_t{1}, std::size_t{2}})
    {
        for (const Command& command : commands)
        {
            report.Add(Compare(command.name + (threads == 1 ? ", 1 thread" : ", 2 threads"),
                               OnThreads(threads, Repeat(command.module)), OnThreads(threads, Repeat(command.limit)),
                               {21, 1.2}),
                       AimOf(command));
        }
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Commands: the module over a client that makes the same COM calls without JSON", argumentCount,
                arguments, [&](Report& report) {
                    CoInitializeEx(nullptr, COINIT_MULTITHREADED); // as a host does: joining COM is cheap from then on
                    for (const std::size_t items : {1U, 100U, 10000U})
                    {
                        auto machine = MakeMachine(items);
                        Subject subject{machine};
                        const LimitClient limit{machine};
                        if (items == 1)
                        {
                            std::vector<Command> commands = FirmwareCommands(subject, limit);
                            commands.push_back(FirmwareCommandWithBase64(subject, limit));
                            Run(report, commands);
                        }
                        Run(report, QueryCommands(subject, limit, items));
                    }
                });
}
