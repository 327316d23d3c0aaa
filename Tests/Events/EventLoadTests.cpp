// Many events, many registrations, many sessions.

#include "Tests/Events/EventTest.h"

#include <atomic>
#include <cwchar>
#include <map>
#include <memory>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::WMI::ComPtr;

class EventLoad : public EventTest
{
protected:
    EventLoad() : EventTest{std::chrono::minutes{2}}
    {
        // A trace of all this would only take memory.
        calls->Watch<"SetEvent", decltype(SetEvent)>(Traced::No);
        calls->Watch<"ResetEvent", decltype(ResetEvent)>(Traced::No);
        calls->Watch<"WaitForMultipleObjects", decltype(WaitForMultipleObjects)>(Traced::No);
        calls->Watch<"CreateEventW", decltype(CreateEventW)>(Traced::No);
        calls->Watch<"CloseHandle", decltype(CloseHandle)>(Traced::No);
        calls->Replace<"OutputDebugStringW", decltype(OutputDebugStringW)>([](const wchar_t*) {});
    }

    // Ends the registration as soon as there is one.
    void StopSoon()
    {
        while (Unregister(AllEvents).text != Result(0))
        {
        }
    }
};

struct Received
{
    int id = 0;
    int data = 0;
};

Received Parse(const std::wstring& text)
{
    Received event;
    EXPECT_EQ(swscanf_s(text.c_str(), L"{\"eventId\":%d,\"eventData\":%d}", &event.id, &event.data), 2) << Narrow(text);
    return event;
}

// Producer p emits the events {p, 0}, {p, 1} ...
void ExpectEachOnceInOrder(const std::vector<std::wstring>& texts, int producers, int eventsEach)
{
    std::map<int, int> next;
    for (const std::wstring& text : texts)
    {
        const Received event = Parse(text);
        ASSERT_EQ(event.data, next[event.id]) << "producer " << event.id;
        ++next[event.id];
    }
    ASSERT_EQ(next.size(), static_cast<std::size_t>(producers));
    for (const auto& [producer, count] : next)
    {
        EXPECT_EQ(count, eventsEach) << "producer " << producer;
    }
}

TEST_F(EventLoad, AHundredThousandEventsOfFourProducersArriveOnceAndInOrder)
{
    constexpr int producers = 4;
    constexpr int eventsEach = 25000;
    const auto registration = StartRegistration(Filter(1));
    for (int id = 2; id <= producers; ++id)
    {
        ASSERT_EQ(Narrow(Register(Filter(id)).text), "{\"result\":1}");
    }

    std::vector<std::thread> threads;
    for (int id = 1; id <= producers; ++id)
    {
        threads.emplace_back([this, id] {
            // One object per producer, whose data count up: making objects would take longer than handing them over.
            int n = 0;
            const auto next = Value::Other([&n](VARIANT* value) { return V_VT(value) = VT_I4, V_I4(value) = n, S_OK; });
            const ComPtr<IWbemClassObject> event{wmi->NewObject(FirmwareEvent(Value::Int(id), next))};
            IWbemClassObject* objects[] = {event.Get()};
            for (; n < eventsEach; ++n)
            {
                events.Emit(1, objects);
                if (n % 1000 == 0)
                {
                    Emit(99, n); // filtered out
                    transcript.Clear();
                }
            }
        });
    }
    registration->WaitForEvents(static_cast<std::size_t>(producers) * eventsEach);
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    Stop(*registration);

    ExpectEachOnceInOrder(registration->Events(), producers, eventsEach);
}

TEST_F(EventLoad, FiltersMayChangeWhileEventsFlow)
{
    constexpr int producers = 4;
    constexpr int eventsEach = 1000;
    const auto registration = StartRegistration(Filter(1));
    for (int id = 2; id <= producers; ++id)
    {
        ASSERT_EQ(Narrow(Register(Filter(id)).text), "{\"result\":1}");
    }

    std::atomic<bool> done = false;
    std::thread client{[this, &done] {
        for (int id = 100; !done; id = id == 199 ? 100 : id + 1)
        {
            static_cast<void>(Register(Filter(id)));
            static_cast<void>(Register(Filter(id + 1000)));
            static_cast<void>(Unregister(Filter(id)));
            static_cast<void>(Unregister(Filter(id + 1000)));
        }
    }};
    std::vector<std::thread> threads;
    for (int id = 1; id <= producers; ++id)
    {
        threads.emplace_back([this, id] {
            for (int n = 0; n < eventsEach; ++n)
            {
                Emit(id, n);
                Emit(5000 + id, n); // never in the filter
            }
        });
    }
    registration->WaitForEvents(static_cast<std::size_t>(producers) * eventsEach);
    done = true;
    client.join();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    Stop(*registration);

    ExpectEachOnceInOrder(registration->Events(), producers, eventsEach);
}

TEST_F(EventLoad, TenThousandRegistrationsOfOneSessionLeaveNothingBehind)
{
    constexpr int cycles = 10000;
    Subscribe(); // what the session keeps
    const std::size_t blocks = ledgers.heap.Count();
    const std::size_t handles = ledgers.handles.Count();

    Counter ended;
    int answers = 0;
    std::thread host{[&] {
        for (int n = 0; n < cycles; ++n)
        {
            answers += Register(Filter(n)).text == Result(0) ? 1 : 0;
            ended.Add();
        }
    }};
    for (int n = 0; n < cycles; ++n)
    {
        StopSoon();
        ended.WaitFor(n + 1);
    }
    host.join();

    EXPECT_EQ(answers, cycles);
    EXPECT_EQ(ledgers.heap.Count(), blocks);
    EXPECT_EQ(ledgers.handles.Count(), handles);
    EXPECT_EQ(events.Subscriptions(), 1u);
}

TEST_F(EventLoad, SessionsMayEndWhileTheirRegistrationsAreFlooded)
{
    constexpr int sessions = 300;
    std::atomic<bool> done = false;
    std::vector<std::thread> producers;
    for (int id = 1; id <= 2; ++id)
    {
        producers.emplace_back([this, id, &done] {
            for (int n = 0; !done; ++n)
            {
                Emit(id, n);
                transcript.Clear();
            }
        });
    }

    for (int n = 0; n < sessions; ++n)
    {
        session.emplace(service->Get(), ClientId);
        const auto registration = StartRegistration(AllEvents);
        if (n % 2 == 0)
        {
            registration->WaitForEvents(1);
        }
        session->End();
        EXPECT_EQ(Narrow(registration->End().text), "{\"result\":0}");
    }
    done = true;
    for (std::thread& producer : producers)
    {
        producer.join();
    }

    EXPECT_EQ(events.Subscriptions(), 0u);
    EXPECT_EQ(wmi->Outstanding(), 0);
    EXPECT_EQ(ledgers.handles.Count(), 0u);
}

TEST_F(EventLoad, SessionsMayEndWhileTheirRegistrationsStart)
{
    constexpr int sessions = 500;
    // A long request needs memory when it is parsed: the command is under way then.
    const std::wstring request = L"{\"filterEvent\":5,\"more\":\"" + std::wstring(20000, L'.') + L"\"}";
    for (int n = 0; n < sessions; ++n)
    {
        session.emplace(service->Get(), ClientId);
        Counter started;
        plan.Before("malloc", [&started](int) { started.Add(); });
        RegisterCall registration{service->Get(), session->Get(), request};
        started.WaitFor(1);
        for (int spin = 0; spin < n * 20; ++spin) // spreads the ends over the whole of the start
        {
            static_cast<void>(started.Count());
        }
        session->End();
        EXPECT_EQ(Narrow(registration.End().text), "{\"result\":0}");
        plan.Before("malloc", {});
    }

    EXPECT_EQ(wmi->Outstanding(), 0);
    EXPECT_EQ(ledgers.handles.Count(), 0u);
}

TEST_F(EventLoad, ManySessionsListenAtTheSameTimeEachWithItsFilter)
{
    constexpr int sessions = 16;
    std::vector<std::unique_ptr<Session>> clients;
    std::vector<std::unique_ptr<RegisterCall>> registrations;
    for (int id = 0; id < sessions; ++id)
    {
        clients.push_back(std::make_unique<Session>(service->Get(), L"client " + std::to_wstring(id)));
        registrations.push_back(
            std::make_unique<RegisterCall>(service->Get(), clients.back()->Get(), Filter(1000 + id)));
    }
    waits.WaitFor(sessions);

    for (int n = 0; n < 100; ++n)
    {
        for (int id = 0; id < sessions; ++id)
        {
            Emit(1000 + id, n);
        }
    }

    for (int id = 0; id < sessions; ++id)
    {
        registrations[static_cast<std::size_t>(id)]->WaitForEvents(100);
        clients[static_cast<std::size_t>(id)]->End();
        registrations[static_cast<std::size_t>(id)]->End();
        const std::vector<std::wstring> texts = registrations[static_cast<std::size_t>(id)]->Events();
        ASSERT_EQ(texts.size(), 100u);
        for (int n = 0; n < 100; ++n)
        {
            EXPECT_EQ(Narrow(texts[static_cast<std::size_t>(n)]), Narrow(EventText(1000 + id, n)));
        }
    }
}

} // namespace

} // namespace Zv::Testing
