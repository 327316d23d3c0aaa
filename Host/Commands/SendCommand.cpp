#include "Host/CommandParts/FirmwareEvent.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/Numbers.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include "Simulator/EventChannel.h"

#include <system_error>

namespace Zv::Host
{

namespace
{

// How long a simulation that is just starting is waited for.
constexpr std::chrono::seconds Patience{5};
constexpr std::chrono::milliseconds ChannelRetryTime{50};

class SendCommand : public Command
{
public:
    SendCommand()
        : Command{{.name = "send",
                   .summary = "Send firmware events to a simulated machine that is running",
                   .details = R"(The machine is one that "wmihost events --simulate FILE --channel NAME" runs on.
DATA is 0 unless given; ID and DATA are decimal, or hexadecimal with 0x.

Prints how many subscriptions each event reaches; with --json or --ndjson:
{"eventId":N,"eventData":N,"subscriptions":N}.)",
                   .examples = R"(wmihost send desk 20:0xff0000
wmihost send desk 21 3 0x20001:7)",
                   .formats = {OutputFormat::Text, OutputFormat::Json, OutputFormat::JsonLines}}}
    {
        m_arguments.Positional("CHANNEL", m_channel, "Name of the machine's channel").Required();
        m_arguments.Positional("ID[:DATA]", {m_events, EventFrom}, "Events to send, in this order").Required();
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        for (const FirmwareEvent& event : m_events)
        {
            const int subscriptions = Send(environment.GetInterruption(), event);
            Console& output = environment.Output();
            environment.Options().PrintsJson()
                ? output.WriteLine(JsonObject{}
                                       .Add("eventId", event.id)
                                       .Add("eventData", event.data)
                                       .Add("subscriptions", subscriptions)
                                       .Text())
                : output.WriteLine(event.Text() + " sent to " +
                                   Counted(static_cast<std::size_t>(subscriptions), "subscription"));
        }
        return ExitCode::Success;
    }

private:
    // Returns how many subscriptions the event reaches.
    [[nodiscard]] int Send(const Interruption& interruption, const FirmwareEvent& event) const
    {
        constexpr std::string_view good = "ok ";
        const std::string answer = Ask(interruption, event);
        const std::optional<int> subscriptions =
            answer.starts_with(good) ? ParseSigned(answer.substr(good.size())) : std::nullopt;
        if (!subscriptions)
        {
            throw Failure{ExitCode::CommandFailed, "event " + event.Text() + " was refused: " + answer};
        }
        return *subscriptions;
    }

    [[nodiscard]] std::string Ask(const Interruption& interruption, const FirmwareEvent& event) const
    {
        const ULONGLONG end = GetTickCount64() + std::chrono::milliseconds{Patience}.count();
        for (;;)
        {
            try
            {
                return Simulator::EventChannel::Send(ToUtf16(m_channel), event.id, event.data);
            }
            catch (const std::system_error& error)
            {
                const auto code = static_cast<unsigned long>(error.code().value());
                if (code != ERROR_FILE_NOT_FOUND || GetTickCount64() >= end)
                {
                    throw Failure{ExitCode::InputOutput,
                                  "cannot reach the channel " + m_channel + ": " + SystemErrorText(code) +
                                      "; is \"wmihost events --simulate FILE --channel " + m_channel + "\" running?"};
                }
            }
            if (interruption.Wait(ChannelRetryTime))
            {
                interruption.Check();
            }
        }
    }

    std::string m_channel;
    std::vector<FirmwareEvent> m_events;
};

} // namespace

std::unique_ptr<Command> MakeSendCommand()
{
    return std::make_unique<SendCommand>();
}

} // namespace Zv::Host
