#include "Host/CommandParts/EventOutput.h"

#include "Host/Explain/HResults.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <cstdio>
#include <system_error>

namespace Zv::Host
{

namespace
{

std::string LocalTime(char separator)
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    char text[64];
    static_cast<void>(std::snprintf(text, sizeof text, "%04u-%02u-%02u%c%02u:%02u:%02u.%03u", now.wYear, now.wMonth,
                                    now.wDay, separator, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds));
    return text;
}

std::string BothBases(int number)
{
    char text[32];
    static_cast<void>(std::snprintf(text, sizeof text, "%d (0x%x)", number, static_cast<unsigned int>(number)));
    return text;
}

} // namespace

std::string EventLine(std::string_view text, bool json)
{
    JsonDocument event;
    event.Parse(text.data(), text.size());
    if (event.HasParseError() || !event.IsObject() || !event.HasMember("eventId") || !event["eventId"].IsInt() ||
        !event.HasMember("eventData") || !event["eventData"].IsInt())
    {
        throw Failure{ExitCode::InternalError, "the module's event has no id and data: " + std::string{text}};
    }
    const int id = event["eventId"].GetInt();
    const int data = event["eventData"].GetInt();
    return json ? JsonObject{}.Add("time", LocalTime('T')).Add("eventId", id).Add("eventData", data).Text()
                : LocalTime(' ') + "  id " + BothBases(id) + "  data " + BothBases(data);
}

void CheckChannelUse(const Environment& environment, const std::string& channel)
{
    if (!channel.empty() && environment.Options().simulateFile.empty())
    {
        throw Failure{ExitCode::BadInput, "wmihost events: --channel goes with --simulate; see wmihost events --help"};
    }
}

std::unique_ptr<const Simulator::EventChannel> OpenChannel(Environment& environment, const std::string& name)
{
    if (name.empty())
    {
        return nullptr;
    }
    try
    {
        return std::make_unique<const Simulator::EventChannel>(environment.Simulated()->Machine(), ToUtf16(name));
    }
    catch (const std::system_error& error)
    {
        throw Failure{ExitCode::InputOutput, "cannot open the channel " + name + ": " +
                                                 SystemErrorText(static_cast<unsigned long>(error.code().value()))};
    }
}

void ThrowIfFailed(const EventFeed& feed)
{
    if (const Reply* const failed = feed.Failed())
    {
        const char* const lack = WhyNoEvents(failed->status);
        throw CommandFailure{failed->code,
                             lack != nullptr ? lack : ErrorLine(failed->code, "firmware events", failed->problem)};
    }
}

} // namespace Zv::Host
