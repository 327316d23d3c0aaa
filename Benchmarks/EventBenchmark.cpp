// Firmware events through the module against a bare mailbox of one slot.

#include "Benchmarks/LimitClient.h"
#include "Benchmarks/Mailbox.h"
#include "Benchmarks/Registration.h"
#include "Benchmarks/Report.h"
#include "Benchmarks/Subject.h"
#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace Zv::Benchmarks;
using Clock = std::chrono::steady_clock;

constexpr double LowestRate = 0.9; // of the bare mailbox's
constexpr int EventId = 65542;

// The end of the way: counts what arrives, says when so many are there, and keeps the time of the last one.
class Arrivals
{
public:
    void Expect(std::size_t count)
    {
        m_missing = count;
        m_last = {};
    }
    void Add()
    {
        if (--m_missing == 0)
        {
            m_last = Clock::now();
            SetEvent(m_complete.Get());
        }
    }
    Clock::time_point Wait() const
    {
        WaitForSingleObject(m_complete.Get(), INFINITE);
        return m_last;
    }

private:
    std::atomic<std::size_t> m_missing = 0;
    Clock::time_point m_last; // written before the event is set, read after
    Zv::Tessel::Server::Shared::Handle m_complete{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
};

// One way from a producer to the end.
struct Way
{
    std::function<void()> send;
    Arrivals& arrivals;
};

// So many events by several producers at once, until the last one has arrived.
Work Flood(const Way& way, std::size_t producers)
{
    return [&way, producers](std::size_t operations) {
        const std::size_t each = (operations + producers - 1) / producers;
        way.arrivals.Expect(each * producers);
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < producers; ++i)
        {
            threads.emplace_back([&] {
                for (std::size_t sent = 0; sent < each; ++sent)
                {
                    way.send();
                }
            });
        }
        way.arrivals.Wait();
    };
}

// The median time from sending to arrival, each event being sent when the last one is long done with.
double Delay(const Way& way)
{
    constexpr std::size_t events = 20;
    std::vector<double> times;
    for (std::size_t i = 0; i < events; ++i)
    {
        Sleep(1);
        way.arrivals.Expect(1);
        const auto start = Clock::now();
        way.send();
        times.push_back(std::chrono::duration<double, std::micro>(way.arrivals.Wait() - start).count());
    }
    return Median(times);
}

void Run(Report& report)
{
    auto machine = MakeMachine(1);
    Subject subject{machine};
    Arrivals arrivals;
    const Registration registration{subject, machine, [&arrivals](wchar_t*) { arrivals.Add(); }};
    const auto event = LimitClient{machine}.MakeEvent(EventId, 7);
    const Way module{[&] {
                         IWbemClassObject* object = event.Get();
                         registration.Sink().Indicate(1, &object);
                     },
                     arrivals};

    Arrivals bareArrivals;
    Mailbox mailbox{[&bareArrivals](int, int) { bareArrivals.Add(); }};
    const Way bare{[&mailbox] { mailbox.Put(EventId, 7); }, bareArrivals};

    for (const std::size_t producers : {1U, 4U})
    {
        const std::string name = std::to_string(producers) + (producers == 1 ? " producer" : " producers");
        const Comparison comparison =
            Compare(name + ", time per event", Flood(module, producers), Flood(bare, producers));
        report.Add(comparison, {1 / LowestRate, {}});
        report.AddRow(name + ", rate",
                      {{"events/s", 1e6 / comparison.subject}, {"events/s bare", 1e6 / comparison.reference}});
    }
    report.Add(
        CompareSamples("from Indicate to callback", [&] { return Delay(module); }, [&] { return Delay(bare); }, 31));
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Events: the module over a bare mailbox of one slot", argumentCount, arguments, [&](Report& report) {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        Run(report);
    });
}
