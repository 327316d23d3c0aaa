// Events that come from another process; the process is this one, the pipe does not care.
#include "Tests/Simulator/Client.h"
#include "Tests/Simulator/Sink.h"
#include "Tests/Support/Watchdog.h"

#include "Simulator/EventChannel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <system_error>
#include <vector>

namespace Zv::Testing
{

using Simulator::EventChannel;
using Simulator::Machine;

namespace
{

// Pipes are named for the whole computer; tests may run side by side.
std::wstring ChannelName()
{
    return L"test-" + std::to_wstring(GetCurrentProcessId());
}

} // namespace

TEST(ChannelTests, EventsAreSentByName)
{
    const Watchdog watchdog{"EventsAreSentByName"};
    Machine machine = LoadMachine("notebook.json");
    Sink sink;
    const EventChannel channel{machine, ChannelName()};
    const ComPtr<IWbemServices> services = Connected(machine, L"root/wmi");
    ASSERT_EQ(S_OK, services->ExecNotificationQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM zvqBEvnt"}.Get(), 0,
                                                         nullptr, &sink));
    EXPECT_EQ("ok 1", EventChannel::Send(ChannelName(), -1, 7));
    EXPECT_TRUE(sink.WaitForEvents(1, 20000));
    EXPECT_EQ(L"VT_I4 -1, VT_I4 7", sink.Events().back());
    EXPECT_EQ(S_OK, services->CancelAsyncCall(&sink));
}

TEST(ChannelTests, TheSenderGetsItsAnswerEvenIfTheEventEndsTheChannel)
{
    const Watchdog watchdog{"TheSenderGetsItsAnswerEvenIfTheEventEndsTheChannel"};
    Machine machine = LoadMachine("notebook.json");
    Sink sink;
    const ComPtr<IWbemServices> services = Connected(machine, L"root/wmi");
    ASSERT_EQ(S_OK, services->ExecNotificationQueryAsync(Bstr{L"WQL"}.Get(), Bstr{L"SELECT * FROM zvqBEvnt"}.Get(), 0,
                                                         nullptr, &sink));
    for (int round = 1; round <= 20; ++round)
    {
        auto channel = std::make_unique<EventChannel>(machine, ChannelName());
        std::atomic<bool> answered = false;
        const Simulator::Worker sender{[&] { answered = EventChannel::Send(ChannelName(), round, 0) == "ok 1"; }};
        ASSERT_TRUE(sink.WaitForEvents(static_cast<std::size_t>(round), 20000));
        channel.reset();
        ASSERT_TRUE(sender.WaitFor(20000));
        EXPECT_TRUE(answered) << round;
    }
    EXPECT_EQ(S_OK, services->CancelAsyncCall(&sink));
}

TEST(ChannelTests, AMachineWithoutEventsSaysSo)
{
    const Watchdog watchdog{"AMachineWithoutEventsSaysSo"};
    Machine machine = LoadMachine("desktop.json");
    const EventChannel channel{machine, ChannelName()};
    EXPECT_EQ("error the machine's description has no section \"events\"", EventChannel::Send(ChannelName(), 1, 1));
}

TEST(ChannelTests, ANameIsTakenOnceAndFreeAgainAfterwards)
{
    const Watchdog watchdog{"ANameIsTakenOnceAndFreeAgainAfterwards"};
    Machine machine = LoadMachine("notebook.json");
    {
        const EventChannel channel{machine, ChannelName()};
        EXPECT_THROW((EventChannel{machine, ChannelName()}), std::system_error);
    }
    EXPECT_THROW(static_cast<void>(EventChannel::Send(ChannelName(), 1, 1, 1)), std::system_error);
    const EventChannel again{machine, ChannelName()};
    EXPECT_EQ("ok 0", EventChannel::Send(ChannelName(), 1, 1));
}

TEST(ChannelTests, ManySendersAreServedInTurn)
{
    const Watchdog watchdog{"ManySendersAreServedInTurn"};
    Machine machine = LoadMachine("notebook.json");
    const EventChannel channel{machine, ChannelName()};
    std::vector<Simulator::Worker> senders;
    std::atomic<int> answered = 0;
    for (int i = 0; i < 4; ++i)
    {
        senders.emplace_back([&] {
            for (int event = 0; event < 10; ++event)
            {
                answered += EventChannel::Send(ChannelName(), event, 0) == "ok 0" ? 1 : 0;
            }
        });
    }
    for (const Simulator::Worker& sender : senders)
    {
        EXPECT_TRUE(sender.WaitFor(20000));
    }
    EXPECT_EQ(40, answered);
}

} // namespace Zv::Testing
