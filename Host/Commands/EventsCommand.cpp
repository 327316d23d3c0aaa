#include "Host/Commands/EventsCommand.h"

#include "Host/CommandParts/EventOutput.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Numbers.h"

#include "Simulator/EventChannel.h"

#include <atomic>

namespace Zv::Host
{

namespace
{

int EventIdFrom(const std::string& text)
{
    const std::optional<int> id = ParseSigned(text);
    if (!id)
    {
        throw std::invalid_argument{'"' + text + "\" is no event id: an id is " + SignedRange};
    }
    if (*id == 0)
    {
        throw std::invalid_argument{"0 is no event id; without --id every event is printed"};
    }
    return *id;
}

std::string ChannelFrom(const std::string& text)
{
    if (text.empty() || text.size() > 100 || text.find('\\') != std::string::npos)
    {
        throw std::invalid_argument{"must be a name of 1 to 100 characters without backslashes"};
    }
    return text;
}

} // namespace

// Prints each event, up to a number of them. Called on one thread at a time.
class EventPrinter
{
public:
    EventPrinter(Console& output, bool json, std::size_t most) noexcept : m_output{output}, m_json{json}, m_most{most}
    {
    }
    EventPrinter(const EventPrinter&) = delete;
    EventPrinter& operator=(const EventPrinter&) = delete;
    ~EventPrinter() = default;

    // Set when that number is there or nothing can be printed.
    [[nodiscard]] HANDLE Done() const noexcept { return m_done.Event(); }
    [[nodiscard]] std::size_t Count() const noexcept { return m_count; }

    void Print(std::string_view text)
    {
        if (m_count == m_most)
        {
            return; // came before the registration has ended
        }
        try
        {
            m_output.WriteLine(EventLine(text, m_json));
        }
        catch (...)
        {
            m_done.Set();
            throw;
        }
        if (++m_count == m_most)
        {
            m_done.Set();
        }
    }

private:
    Console& m_output;
    const bool m_json;
    const std::size_t m_most;
    const Signal m_done;
    std::atomic<std::size_t> m_count = 0;
};

EventsCommand::EventsCommand()
    : EventsCommand{R"(Prints one line per event, as it comes: local time, id and data, both in decimal and
hexadecimal. With --json or --ndjson: {"time":TEXT,"eventId":N,"eventData":N}. Standard
error says when it listens and, at the end, how many events came.

Goes on until Ctrl-C, or what --count or --for say. Before it ends it unregisters.

On a simulated machine the events of the description come, and with --channel those that
other processes send (wmihost send).)",
                    R"(wmihost events
wmihost events --id 20 --id 0x20001 --count 1 --json
wmihost events --simulate machine.json --channel desk --for 60)"}
{
}

EventsCommand::EventsCommand(const char* details, const char* examples)
    : Command{{.name = "events",
               .summary = "Show firmware events as they come",
               .details = details,
               .examples = examples,
               .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
{
    m_arguments.Option("--id", {m_ids, EventIdFrom}, "Only events with this id; may be given several times")
        .Type("N")
        .OneEach();
    m_arguments.Option("--count", {m_count, CountFrom}, "End after so many events").Type("N");
    m_arguments.Option("--for", {m_time, SecondsFrom}, "End after so long").Type("SECONDS");
    m_arguments
        .Option("--channel", {m_channel, ChannelFrom}, "Take events for the simulated machine from other processes")
        .Type("NAME");
}

ExitCode EventsCommand::Run(Environment& environment)
{
    CheckChannelUse(environment, m_channel);
    Session& session = environment.OpenSession();
    EventPrinter printer{environment.Output(), environment.Options().PrintsJson(), m_count.value_or(SIZE_MAX)};
    EventFeed feed{session, m_ids, [&](std::string_view text) { printer.Print(text); }};
    Follow(environment, feed, printer);
    feed.Stop();
    ThrowIfFailed(feed);
    environment.Output().WriteErrorLine(Counted(printer.Count(), "event"));
    const Interruption& interruption = environment.GetInterruption();
    const bool endless = !m_count && !m_time;
    if (!(endless && interruption.IsByUser())) // which is the way to end it
    {
        interruption.Check();
    }
    return ExitCode::Success;
}

// Returns when nothing more is to be printed.
void EventsCommand::Follow(Environment& environment, const EventFeed& feed, const EventPrinter& printer) const
{
    const HANDLE waited[] = {environment.GetInterruption().Event(), printer.Done(), feed.Changed()};
    std::unique_ptr<const Simulator::EventChannel> channel;
    ULONGLONG end = 0; // once it listens
    while (!feed.HasEnded())
    {
        if (end == 0 && feed.IsListening())
        {
            channel = OpenChannel(environment, m_channel);
            environment.Output().WriteErrorLine("listening");
            end = m_time ? GetTickCount64() + static_cast<ULONGLONG>(m_time->count()) : ULLONG_MAX;
        }
        const ULONGLONG now = GetTickCount64();
        const DWORD limit = end == 0 || end == ULLONG_MAX ? INFINITE : static_cast<DWORD>(end > now ? end - now : 0);
        if (WaitForMultipleObjects(3, waited, FALSE, limit) != WAIT_OBJECT_0 + 2)
        {
            return;
        }
    }
}

std::unique_ptr<Command> MakeEventsCommand()
{
    return std::make_unique<EventsCommand>();
}

} // namespace Zv::Host
