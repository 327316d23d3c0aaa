#include "Host/Client/EventFeed.h"
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

constexpr char Details[] = R"(Prints one line per event, as it comes: local time, id and data, both in decimal and
hexadecimal. With --json or --ndjson: {"time":TEXT,"eventId":N,"eventData":N}. Standard
error says when it listens and, at the end, how many events came.

Goes on until Ctrl-C, or what --count or --for say. Before it ends it unregisters.

On a simulated machine the events of the description come, and with --channel those that
other processes send (wmihost send).)";

constexpr char Examples[] = R"(wmihost events
wmihost events --id 20 --id 0x20001 --count 1 --json
wmihost events --simulate machine.json --channel desk --for 60)";

std::string CheckId(const std::string& text)
{
    const std::optional<int> id = ParseSigned(text);
    if (!id)
    {
        return '"' + text + "\" is no event id: an id is " + SignedRange;
    }
    return *id != 0 ? std::string{} : "0 is no event id; without --id every event is printed";
}

std::string CheckCount(const std::string& text)
{
    return ParseUnsigned(text).value_or(0) != 0 ? std::string{}
                                                : "must be a number from 1 to 4294967295, not \"" + text + "\"";
}

std::string CheckChannel(const std::string& text)
{
    return !text.empty() && text.size() <= 100 && text.find('\\') == std::string::npos
               ? std::string{}
               : "must be a name of 1 to 100 characters without backslashes";
}

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

class EventsCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "events"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Show firmware events as they come"; }
    [[nodiscard]] HelpText Help() const noexcept override { return {Details, Examples}; }
    [[nodiscard]] std::vector<OutputFormat> Formats() const override
    {
        return {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines};
    }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("--id", m_ids, "Only events with this id; may be given several times")
            ->type_name("N")
            ->allow_extra_args(false)
            ->check(CheckId);
        parser.add_option("--count", m_count, "End after so many events")->type_name("N")->check(CheckCount);
        AddSeconds(parser, "--for", m_time, "End after so long");
        parser.add_option("--channel", m_channel, "Take events for the simulated machine from other processes")
            ->type_name("NAME")
            ->check(CheckChannel);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        CheckChannelUse(environment, m_channel);
        std::vector<int> ids;
        for (const std::string& id : m_ids)
        {
            ids.push_back(ParseSigned(id).value_or(0));
        }
        Session& session = environment.OpenSession();
        EventPrinter printer{environment.Output(), environment.Options().PrintsJson(),
                             m_count.empty() ? SIZE_MAX : ParseUnsigned(m_count).value_or(0)};
        EventFeed feed{session, ids, [&](std::string_view text) { printer.Print(text); }};
        Follow(environment, feed, printer);
        feed.Stop();
        ThrowIfFailed(feed);
        environment.Output().WriteErrorLine(Counted(printer.Count(), "event"));
        const Interruption& interruption = environment.GetInterruption();
        const bool endless = m_count.empty() && !m_time;
        if (!(endless && interruption.IsByUser())) // which is the way to end it
        {
            interruption.Check();
        }
        return ExitCode::Success;
    }

private:
    // Returns when nothing more is to be printed.
    void Follow(Environment& environment, const EventFeed& feed, const EventPrinter& printer) const
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
            const DWORD limit =
                end == 0 || end == ULLONG_MAX ? INFINITE : static_cast<DWORD>(end > now ? end - now : 0);
            if (WaitForMultipleObjects(3, waited, FALSE, limit) != WAIT_OBJECT_0 + 2)
            {
                return;
            }
        }
    }

    std::vector<std::string> m_ids;
    std::string m_count;
    std::optional<std::chrono::milliseconds> m_time;
    std::string m_channel;
};

} // namespace

std::unique_ptr<Command> MakeEventsCommand()
{
    return std::make_unique<EventsCommand>();
}

} // namespace Zv::Host
