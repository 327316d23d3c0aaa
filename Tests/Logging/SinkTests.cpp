#include "Recorder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Logging::CreateLoggingData;
using Logging::Level;
using Logging::LogLine;
using Logging::Overload;
using Logging::ScopedSink;
using Logging::Sinks;

constexpr std::chrono::seconds Watchdog{20};

TEST(LoggingSinks, ReceiveLevelOverloadContextFormatAndText)
{
    const Recorder recorder;
    Logger().LogInfo(L"%d", 1);
    Logger().LogInfo(CreateLoggingData(L"%d", L"a"), 2);
    Logger().LogWarning(L"%d", 3);
    Logger().LogWarning(CreateLoggingData(L"%d", nullptr), 4);
    Logger().LogError(L"%d", 5);
    Logger().LogError(CreateLoggingData(L"%d", L"b"), 6);

    const std::vector<RecordedLine> lines = recorder.Lines();
    ASSERT_EQ(lines.size(), 6U);
    constexpr Level levels[] = {Level::Info, Level::Info, Level::Warning, Level::Warning, Level::Error, Level::Error};
    const wchar_t* const contexts[] = {nullptr, L"a", nullptr, nullptr, nullptr, L"b"};
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        EXPECT_EQ(lines[i].level, levels[i]);
        EXPECT_EQ(lines[i].overload, i % 2 == 0 ? Overload::Text : Overload::Data);
        EXPECT_EQ(lines[i].hasContext, contexts[i] != nullptr);
        EXPECT_EQ(lines[i].context, contexts[i] != nullptr ? contexts[i] : L"");
        EXPECT_EQ(lines[i].format, L"%d");
        EXPECT_EQ(lines[i].text, std::to_wstring(i + 1));
        EXPECT_FALSE(lines[i].cut);
    }
}

TEST(LoggingSinks, ReceiveOnlyTheLevelsThatTheyAskFor)
{
    const Recorder all;
    const Recorder warnings{Level::Warning};
    const Recorder errors{Level::Error};
    Logger().LogInfo(L"info");
    Logger().LogWarning(L"warning");
    Logger().LogError(L"error");

    EXPECT_EQ(all.Lines().size(), 3U);
    EXPECT_EQ(warnings.Lines().size(), 2U);
    ASSERT_EQ(errors.Lines().size(), 1U);
    EXPECT_EQ(errors.Lines().front().text, L"error");
}

TEST(LoggingSinks, ReceiveNothingOnceRemoved)
{
    auto recorder = std::make_unique<Recorder>();
    Logger().LogError(L"one");
    EXPECT_EQ(recorder->Lines().size(), 1U);
    recorder.reset();
    Logger().LogError(L"two"); // would write to freed memory
}

TEST(LoggingSinks, AreSixteenAtTheMost)
{
    std::vector<std::unique_ptr<Recorder>> recorders;
    for (int i = 0; i < 16; ++i)
    {
        recorders.push_back(std::make_unique<Recorder>());
        EXPECT_TRUE(recorders.back()->IsAdded());
    }
    EXPECT_FALSE(Recorder{}.IsAdded());
    recorders.pop_back();
    EXPECT_TRUE(Recorder{}.IsAdded());
}

TEST(LoggingSinks, NeedAFunction)
{
    EXPECT_EQ(Sinks::Add(Level::Info, nullptr, nullptr), Logging::NoSink);
}

TEST(LoggingSinks, RemovingWhatIsNotThereDoesNothing)
{
    Sinks::Remove(Logging::NoSink);
    Sinks::Remove(4000000000U);
    const Logging::SinkId sink = Sinks::Add(Level::Info, [](const LogLine&, void*) noexcept {}, nullptr);
    Sinks::Remove(sink);
    const Recorder recorder; // takes the freed place
    Sinks::Remove(sink);
    Logger().LogError(L"still there");
    EXPECT_EQ(recorder.Lines().size(), 1U);
}

TEST(LoggingSinks, DoNotHearWhatSinksLog)
{
    std::atomic<int> calls = 0;
    const ScopedSink sink{Sinks::Add(
        Level::Info,
        [](const LogLine&, void* user) noexcept {
            ++*static_cast<std::atomic<int>*>(user);
            Logger().LogError(L"from within");
        },
        &calls)};
    const Recorder recorder;
    Logger().LogError(L"from outside");

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(recorder.Text(), L"from outside");
}

TEST(LoggingSinks, MayRemoveThemselves)
{
    struct State
    {
        Logging::SinkId sink = Logging::NoSink;
        int calls = 0;
    } state;
    state.sink = Sinks::Add(
        Level::Info,
        [](const LogLine&, void* user) noexcept {
            auto& self = *static_cast<State*>(user);
            ++self.calls;
            Sinks::Remove(self.sink);
        },
        &state);
    Logger().LogError(L"one");
    Logger().LogError(L"two");
    EXPECT_EQ(state.calls, 1);
}

// A sink that stays inside its function until it is let go.
class SlowSink
{
public:
    SlowSink() : m_sink{Sinks::Add(Level::Error, &Wait, this)} {}

    [[nodiscard]] bool IsEntered() { return m_entered.get_future().wait_for(Watchdog) == std::future_status::ready; }
    void LetGo() { m_gate.set_value(); }
    void Remove() { m_sink = ScopedSink{}; }
    [[nodiscard]] bool HasLeft() const noexcept { return m_left; }

private:
    static void Wait(const LogLine& line, void* user) noexcept
    {
        auto& self = *static_cast<SlowSink*>(user);
        if (line.text == std::wstring{L"slow"})
        {
            self.m_entered.set_value();
            self.m_gateOpen.wait_for(Watchdog);
            self.m_left = true;
        }
    }

    std::promise<void> m_entered;
    std::promise<void> m_gate;
    std::future<void> m_gateOpen = m_gate.get_future();
    std::atomic<bool> m_left = false;
    ScopedSink m_sink;
};

TEST(LoggingSinks, ASlowOneDelaysOnlyItsOwnCaller)
{
    Logging::TraceLogger& logger = Logger();
    SlowSink slow;
    const Recorder recorder;
    std::thread blocked{[&] { logger.LogError(L"slow"); }};
    const bool entered = slow.IsEntered();

    // Both the other loggers and changes to the list go on while the sink sits in its function.
    auto others = std::async(std::launch::async, [&] {
        const Recorder another;
        logger.LogError(L"quick");
        return another.Lines().size();
    });
    const bool quick = others.wait_for(Watchdog) == std::future_status::ready;
    slow.LetGo();
    blocked.join();

    EXPECT_TRUE(entered);
    ASSERT_TRUE(quick);
    EXPECT_EQ(others.get(), 1U);
    EXPECT_EQ(recorder.Lines().size(), 2U);
}

TEST(LoggingSinks, RemovalWaitsForCallsOnOtherThreads)
{
    Logging::TraceLogger& logger = Logger();
    SlowSink slow;
    std::thread blocked{[&] { logger.LogError(L"slow"); }};
    ASSERT_TRUE(slow.IsEntered());

    std::promise<void> removing;
    auto removed = std::async(std::launch::async, [&] {
        removing.set_value();
        slow.Remove();
        return slow.HasLeft();
    });
    removing.get_future().wait();
    // Others may log while somebody waits for the removal.
    logger.LogError(L"quick");
    slow.LetGo();
    EXPECT_TRUE(removed.get());
    blocked.join();
}

TEST(LoggingSinks, GetEveryLineOfEveryThread)
{
    constexpr int threadCount = 4;
    constexpr int linesEach = 2000;
    Logging::TraceLogger& logger = Logger();
    const Recorder recorder;
    std::atomic<bool> stop = false;
    std::thread changer{[&] {
        while (!stop)
        {
            const Recorder passing; // the list changes all the while
        }
    }};
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
    {
        threads.emplace_back([&, t] {
            for (int i = 0; i < linesEach; ++i)
            {
                logger.LogInfo(L"%d", t * linesEach + i);
            }
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    stop = true;
    changer.join();

    std::vector<int> seen(threadCount * linesEach);
    for (const RecordedLine& line : recorder.Lines())
    {
        ++seen.at(std::stoul(line.text));
    }
    EXPECT_EQ(seen, std::vector<int>(threadCount * linesEach, 1));
}

} // namespace
} // namespace Zv::Testing
