// wmihost events and send, on simulated machines.
#include "Program.h"
#include "TemporaryFolder.h"

#include "Host/Text/Json.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <regex>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

// Channels are named for the whole computer; tests may run side by side.
std::string ChannelName()
{
    return "host-test-" + std::to_string(GetCurrentProcessId());
}

Outcome RunEvents(const std::string& schedule, std::vector<std::string> arguments)
{
    const TemporaryFolder folder;
    arguments.insert(arguments.begin(), "events");
    arguments.insert(arguments.end(), {"--simulate", folder.Write("machine.json", EventMachine(schedule))});
    return RunHost(arguments);
}

// wmihost events on the notebook, listening, with a channel.
class HostEventsChannel : public ::testing::Test
{
protected:
    explicit HostEventsChannel(const std::vector<std::string>& more = {})
        : m_events{HostFolder() / "wmihost.exe", Arguments(more)}
    {
        m_events.WaitForError("listening\n");
    }

    static Outcome Send(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"send", ChannelName()});
        return RunHost(arguments);
    }

    [[nodiscard]] Outcome End() const { return m_events.WaitForEnd(); }

private:
    static std::vector<std::string> Arguments(const std::vector<std::string>& more)
    {
        std::vector<std::string> all{"events", "--simulate", ZV_MACHINES "/notebook.json", "--channel", ChannelName()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    const StartedProgram m_events;
};

struct HostEventsOfTwoIds : HostEventsChannel
{
    HostEventsOfTwoIds() : HostEventsChannel{{"--id", "21", "--id", "0x20001", "--count", "3", "--json"}} {}
};

struct HostEventsOfOneEvent : HostEventsChannel
{
    HostEventsOfOneEvent() : HostEventsChannel{{"--count", "1"}} {}
};

std::string IdsAndData(const Outcome& outcome)
{
    std::string text;
    for (const std::string& line : outcome.OutputLines())
    {
        Host::JsonDocument event;
        event.Parse(line.c_str());
        EXPECT_FALSE(event.HasParseError()) << line;
        EXPECT_EQ(event.MemberCount(), 3U) << line;
        EXPECT_TRUE(std::regex_match(event["time"].GetString(), std::regex{R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3})"}))
            << line;
        text += std::to_string(event["eventId"].GetInt()) + ':' + std::to_string(event["eventData"].GetInt()) + ' ';
    }
    return text;
}

TEST(HostEvents, PrintsEachWithTimeAndBothItsNumbersInBothBases)
{
    const Outcome outcome =
        RunEvents(R"({"id":20,"data":16711680},{"atMs":200,"id":131073,"data":4294967295})", {"--count", "2"});
    EXPECT_EQ(outcome.exitCode, 0);
    const std::string time = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})";
    EXPECT_TRUE(
        std::regex_match(outcome.output, std::regex{time + R"(  id 20 \(0x14\)  data 16711680 \(0xff0000\)\n)" + time +
                                                    R"(  id 131073 \(0x20001\)  data -1 \(0xffffffff\)\n)"}))
        << outcome.output;
    EXPECT_TRUE(outcome.error.ends_with("2 events\n")) << outcome.error;
}

TEST(HostEvents, TheTimeIsTheLocalOne)
{
    SYSTEMTIME before{};
    GetLocalTime(&before);
    const Outcome outcome = RunEvents(R"({"id":20,"data":0})", {"--count", "1"});
    SYSTEMTIME after{};
    GetLocalTime(&after);
    const auto text = [](const SYSTEMTIME& time) {
        char buffer[32];
        static_cast<void>(std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth,
                                        time.wDay, time.wHour, time.wMinute, time.wSecond));
        return std::string{buffer};
    };
    EXPECT_GE(outcome.output.substr(0, 19), text(before));
    EXPECT_LE(outcome.output.substr(0, 19), text(after));
}

TEST(HostEvents, EndsAfterTheCountHoweverManyMoreCome)
{
    const Outcome outcome = RunEvents(R"({"everyMs":1,"burst":10,"id":7,"data":0})", {"--count", "25"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.OutputLines().size(), 25U);
    EXPECT_TRUE(outcome.error.ends_with("25 events\n")) << outcome.error;
}

TEST(HostEvents, EndsAfterTheTimeAndSaysHowManyCame)
{
    const ULONGLONG begin = GetTickCount64();
    const Outcome outcome = RunEvents(R"({"everyMs":20,"id":7,"data":0})", {"--for", "1.5"});
    EXPECT_GE(GetTickCount64() - begin, 1500U);
    EXPECT_EQ(outcome.exitCode, 0);
    const std::size_t count = outcome.OutputLines().size();
    EXPECT_GT(count, 1U);
    EXPECT_EQ(outcome.error, "listening\n" + std::to_string(count) + " events\n");
}

TEST(HostEvents, AQuietMachineHasNone)
{
    const Outcome outcome = RunEvents("", {"--for", "0.1", "--id", "-1"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "listening\n0 events\n");
}

TEST(HostEvents, TheTimeOutBeforeTheCountIsAFailureAndUnregisters)
{
    const Outcome outcome = RunEvents("", {"--count", "1", "--timeout", "3"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.error, "listening\n0 events\nnot done after 3 s (--timeout)\n");
}

TEST(HostEvents, SaysThatTheMachineHasNone)
{
    const std::string machine = ZV_MACHINES "/desktop.json";
    for (const std::vector<std::string>& ids : {std::vector<std::string>{}, {"--id", "20", "--id", "21", "--id", "3"}})
    {
        std::vector<std::string> arguments{"events", "--simulate", machine};
        arguments.insert(arguments.end(), ids.begin(), ids.end());
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.error, "this machine has no firmware events: its WMI has no class zvqBEvnt\n");
    }
    EXPECT_EQ(RunHost({"events", "--json", "--simulate", machine}).output,
              "{\"error\":{\"code\":536870914,\"hex\":\"0x20000002\",\"name\":\"GeneralFailure\",\"message\":\"this "
              "machine has no firmware events: its WMI has no class zvqBEvnt\"}}\n");
}

TEST(HostEvents, SaysThatTheMachineHasNotEvenTheNamespace)
{
    const TemporaryFolder folder;
    const std::string machine = folder.Write("machine.json", R"({"version":1,"name":"m","namespaces":[]})");
    const Outcome outcome = RunHost({"events", "--simulate", machine});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "this machine has no firmware events: its WMI has no namespace ROOT\\WMI\n");
}

TEST(HostEvents, NamesTheCallThatFailed)
{
    const TemporaryFolder folder;
    std::string machine = EventMachine("");
    machine.insert(machine.size() - 1, R"(,"faults":[{"at":"IUnsecuredApartment::CreateObjectStub",)"
                                       R"("from":1,"status":"E_OUTOFMEMORY"}])");
    const Outcome outcome = RunHost({"events", "--simulate", folder.Write("machine.json", machine)});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "0x20000002: failed: firmware events: CreateObjectStub gave 0x8007000e (out of memory)\n");
}

TEST(HostEvents, ThisMachineSaysWhyItHasNone)
{
    const Outcome outcome = RunHost({"events", "--for", "1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(outcome.error.find("firmware events"), std::string::npos) << outcome.error;
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
}

TEST(HostEvents, BadInputIsOneLineThatSaysWhatIsRight)
{
    struct Case
    {
        std::vector<std::string> arguments;
        std::string line;
    };
    const std::string range = "a number from -2147483648 to 4294967295, in decimal or 0x and hexadecimal";
    const Case cases[] = {
        {{"events", "--id", "x"}, "wmihost events: --id: \"x\" is no event id: an id is " + range},
        {{"events", "--id", "4294967296"}, "wmihost events: --id: \"4294967296\" is no event id: an id is " + range},
        {{"events", "--id", "0"}, "wmihost events: --id: 0 is no event id; without --id every event is printed"},
        {{"events", "--count", "0"}, "wmihost events: --count: must be a number from 1 to 4294967295, not \"0\""},
        {{"events", "--count", "-1"}, "wmihost events: --count: must be a number from 1 to 4294967295, not \"-1\""},
        {{"events", "--for", "0"}, "wmihost events: --for: must be seconds from 0.001 to 1000000, not \"0\""},
        {{"events", "--for", "soon"}, "wmihost events: --for: must be seconds from 0.001 to 1000000, not \"soon\""},
        {{"events", "--timeout", "1e9"},
         "wmihost events: --timeout: must be seconds from 0.001 to 1000000, not \"1e9\""},
        {{"events", "--timeout", "nan"},
         "wmihost events: --timeout: must be seconds from 0.001 to 1000000, not \"nan\""},
        {{"events", "--channel", "x"}, "wmihost events: --channel goes with --simulate"},
        {{"events", "--channel", "a\\b"},
         "wmihost events: --channel: must be a name of 1 to 100 characters without backslashes"},
        {{"events", "20"}, "wmihost events: The following argument was not expected: 20"},
        {{"send"}, "wmihost send: CHANNEL is required"},
        {{"send", "x"}, "wmihost send: ID[:DATA] is required"},
        {{"send", "x", "20:"}, "wmihost send: ID[:DATA]: \"20:\" is neither ID nor ID:DATA, each " + range},
    };
    for (const Case& bad : cases)
    {
        const Outcome outcome = RunHost(bad.arguments);
        EXPECT_EQ(outcome.exitCode, 2) << bad.line;
        EXPECT_EQ(outcome.output, "") << bad.line;
        EXPECT_EQ(outcome.error, bad.line + "; see wmihost " + bad.arguments.front() + " --help\n");
    }
}

TEST_F(HostEventsOfTwoIds, PrintsThoseAloneAsJson)
{
    const Outcome sent = Send({"20", "21:1", "0x20002", "-1", "131073:-2", "0", "21:0xff0000"});
    EXPECT_EQ(sent.exitCode, 0) << sent.error;
    const Outcome outcome = End();
    EXPECT_EQ(outcome.exitCode, 0);
    // The machine delivers on several threads.
    EXPECT_EQ(outcome.OutputLines().size(), 3U) << outcome.output;
    const std::string events = ' ' + IdsAndData(outcome);
    for (const char* const event : {" 21:1 ", " 131073:-2 ", " 21:16711680 "})
    {
        EXPECT_NE(events.find(event), std::string::npos) << events;
    }
    EXPECT_EQ(outcome.error, "listening\n3 events\n");
}

TEST_F(HostEventsOfOneEvent, SendSaysHowManySubscriptionsItReaches)
{
    const Outcome sent = Send({"0x15:-1"});
    EXPECT_EQ(sent.exitCode, 0) << sent.error;
    EXPECT_EQ(sent.output, "21:-1 sent to 1 subscription\n");
    EXPECT_NE(End().output.find("  id 21 (0x15)  data -1 (0xffffffff)\n"), std::string::npos);
}

TEST_F(HostEventsOfOneEvent, SendPrintsAnObjectForPrograms)
{
    EXPECT_EQ(Send({"21", "--json"}).output, "{\"eventId\":21,\"eventData\":0,\"subscriptions\":1}\n");
    EXPECT_EQ(End().exitCode, 0);
}

TEST_F(HostEventsOfOneEvent, AChannelIsTakenOnce)
{
    const Outcome outcome =
        RunHost({"events", "--for", "1", "--simulate", ZV_MACHINES "/notebook.json", "--channel", ChannelName()});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.error.rfind("cannot open the channel " + ChannelName() + ": ", 0), 0U) << outcome.error;
    EXPECT_EQ(Send({"1"}).exitCode, 0);
    EXPECT_EQ(End().exitCode, 0);
}

TEST(HostSend, NeedsAMachineThatRuns)
{
    const Outcome outcome = RunHost({"send", ChannelName(), "20"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.error.rfind("cannot reach the channel " + ChannelName() + ": ", 0), 0U) << outcome.error;
    EXPECT_NE(outcome.error.find("; is \"wmihost events --simulate FILE --channel " + ChannelName() + "\" running?\n"),
              std::string::npos)
        << outcome.error;
}

TEST(HostSend, DoesNotWaitLongerThanTheTimeOut)
{
    const Outcome outcome = RunHost({"send", ChannelName(), "20", "--timeout", "0.2"});
    EXPECT_EQ(outcome.exitCode, 5);
    EXPECT_EQ(outcome.error, "not done after 0.2 s (--timeout)\n");
}

} // namespace
} // namespace Zv::Testing
