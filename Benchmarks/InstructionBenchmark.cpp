// How many instructions each command executes, counted exactly, where time is too noisy to tell: the module's own, and
// those of all that it calls, over the limit's. A step takes microseconds, so that of large commands just the module's
// own are counted; with --large the others, too, which takes minutes. With --only TEXT, just the commands with that
// text in their names; with --addresses FILE, how often which instruction of the module was executed goes there, a line
// each: command, offset in the module, count.

#include "Benchmarks/Commands.h"
#include "Benchmarks/Mailbox.h"
#include "Benchmarks/PlainJson.h"
#include "Benchmarks/Registration.h"
#include "Benchmarks/Report.h"
#include "Benchmarks/Stepper.h"
#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <fstream>
#include <functional>
#include <ios>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using namespace Zv::Benchmarks;

// Has something followed once, after a run for what is done once and kept.
using Following = std::function<void(Stepper& stepper, Stepper::Calls calls)>;

Following Calling(std::function<void()> call)
{
    return [call = std::move(call)](Stepper& stepper, Stepper::Calls calls) {
        call();
        stepper.Start(calls);
        call();
        stepper.Stop();
    };
}

// One way of events, from what sends them to the thread that delivers them. Calls are always followed: both threads run
// code of the module.
class EventWay
{
public:
    explicit EventWay(std::function<void()> send) : m_send{std::move(send)} {}

    // The end of the way, on the delivering thread. Follows it from here to the next event.
    void Arrive()
    {
        Stepper* const stepper = m_stepper;
        if (m_following)
        {
            stepper->Stop();
        }
        SetEvent(m_arrived.Get());
        m_following = stepper != nullptr && !m_following;
        if (m_following)
        {
            stepper->Start();
        }
    }

    [[nodiscard]] Following Sending()
    {
        return [this](Stepper& stepper, Stepper::Calls) {
            Deliver();
            stepper.Start();
            m_send();
            stepper.Stop();
            Await();
        };
    }

    [[nodiscard]] Following Delivering()
    {
        return [this](Stepper& stepper, Stepper::Calls) {
            Deliver();
            m_stepper = &stepper;
            Deliver();
            Deliver();
            m_stepper = nullptr;
        };
    }

private:
    void Deliver()
    {
        m_send();
        Await();
    }
    void Await() const { WaitForSingleObject(m_arrived.Get(), INFINITE); }

    const std::function<void()> m_send;
    const Zv::Tessel::Server::Shared::Handle m_arrived{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::atomic<Stepper*> m_stepper = nullptr;
    bool m_following = false; // the delivering thread's
};

// Follows what it is told to, and reports.
class Count
{
public:
    struct Options
    {
        std::string only;
        bool followsLarge;
    };

    Count(Report& report, HMODULE module, const Options& options, std::ofstream& addresses)
        : m_report{report},
          m_stepper{module},
          m_options{options},
          m_addresses{addresses}
    {
    }

    void Add(const std::string& name, const Following& module, const Following& limit, bool isLarge = false)
    {
        if (name.find(m_options.only) == std::string::npos)
        {
            return;
        }
        const double before = Own(Follow(module, Stepper::Calls::Skip));
        const double own = Own(Follow(module, Stepper::Calls::Skip));
        m_report.AddRow(name, {{"own", own}, {"the run before", before}});
        WriteAddresses(name);
        if (isLarge && !m_options.followsLarge)
        {
            return;
        }
        const std::vector<ImageTally> all = Follow(module, Stepper::Calls::Follow);
        const std::vector<ImageTally> least = Follow(limit, Stepper::Calls::Follow);
        m_report.AddRow("  with all that they call",
                        {{"module", Sum(all)}, {"limit", Sum(least)}, {"ratio", Sum(all) / Sum(least)}});
        AddImages("  module", all);
        AddImages("  limit", least);
    }

private:
    std::vector<ImageTally> Follow(const Following& following, Stepper::Calls calls)
    {
        following(m_stepper, calls);
        return m_stepper.Images();
    }

    static double Own(const std::vector<ImageTally>& images)
    {
        return static_cast<double>(images.front().instructions);
    }

    static double Sum(const std::vector<ImageTally>& images)
    {
        std::size_t sum = 0;
        for (const ImageTally& image : images)
        {
            sum += image.instructions;
        }
        return static_cast<double>(sum);
    }

    void AddImages(const std::string& name, const std::vector<ImageTally>& images)
    {
        std::vector<Figure> figures;
        for (const ImageTally& image : images)
        {
            if (image.instructions != 0)
            {
                figures.push_back({image.name, static_cast<double>(image.instructions)});
            }
        }
        m_report.AddRow(name, figures);
    }

    void WriteAddresses(const std::string& name)
    {
        const std::vector<std::uint32_t>& addresses = m_stepper.Addresses();
        for (std::size_t offset = 0; offset < addresses.size(); ++offset)
        {
            if (addresses[offset] != 0)
            {
                m_addresses << name << '\t' << std::hex << offset << std::dec << '\t' << addresses[offset] << '\n';
            }
        }
    }

    Report& m_report;
    Stepper m_stepper;
    const Options& m_options;
    std::ofstream& m_addresses;
};

void CountCommands(Count& count, const std::vector<Command>& commands)
{
    constexpr std::size_t smallest = 4;
    for (const Command& command : commands)
    {
        count.Add(command.name, Calling(command.module), Calling(command.limit), command.size > smallest);
    }
}

void CountDispatch(Count& count, Subject& subject)
{
    for (const std::size_t length : {2U, 80U, 5500U})
    {
        const std::wstring request = RequestOfLength(length);
        count.Add("dispatch of " + std::to_string(length) + " characters",
                  Calling([&] { subject.RunAny(UnsupportedFunction, request); }),
                  Calling([&] { ParseAndWrite(request); }));
    }
}

void CountEvents(Count& count, Subject& subject, Zv::Simulator::Machine& machine)
{
    constexpr int eventId = 65542;
    constexpr int eventData = 7;
    const auto event = LimitClient{machine}.MakeEvent(eventId, eventData);
    IWbemObjectSink* sink = nullptr;
    EventWay module{[&] {
        IWbemClassObject* object = event.Get();
        sink->Indicate(1, &object);
    }};
    const Registration registration{subject, machine, [&module](wchar_t*) { module.Arrive(); }};
    sink = &registration.Sink();

    Mailbox* slot = nullptr;
    EventWay bare{[&slot] { slot->Put(eventId, eventData); }};
    Mailbox mailbox{[&bare](int, int) { bare.Arrive(); }};
    slot = &mailbox;

    count.Add("4, an event, what indicates it", module.Sending(), bare.Sending());
    count.Add("4, an event, what delivers it", module.Delivering(), bare.Delivering());
}

void CountAll(Report& report, const Count::Options& options, std::ofstream& addresses)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED); // as a host does: joining COM is cheap from then on
    for (const std::size_t items : {1U, 100U})
    {
        auto machine = MakeMachine(items);
        Subject subject{machine};
        const LimitClient limit{machine};
        Count count{report, subject.Module(), options, addresses};
        if (items == 1)
        {
            CountDispatch(count, subject);
            CountCommands(count, FirmwareCommands(subject, limit));
            CountEvents(count, subject, machine);
        }
        CountCommands(count, QueryCommands(subject, limit, items));
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Instructions: each command over the limit", argumentCount, arguments, [&](Report& report) {
        const std::string fileName = Option(argumentCount, arguments, "--addresses");
        std::ofstream addresses{fileName};
        const bool followsLarge = std::any_of(arguments, arguments + argumentCount, [](const char* argument) {
            return std::string_view{argument} == "--large";
        });
        CountAll(report, {Option(argumentCount, arguments, "--only"), followsLarge}, addresses);
        addresses.flush();
        if (!fileName.empty() && !addresses)
        {
            throw std::runtime_error{"cannot write " + fileName};
        }
    });
}
