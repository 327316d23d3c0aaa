// Sessions, registrations, events and ends in all orders. See docs/testing.md.
//   RaceTests.exe                       some hundred seeds
//   RaceTests.exe --seeds FIRST COUNT   these
#include "Logging/Logging.h"
#include "Tests/Races/Scheduler.h"
#include "Tests/Races/Seeds.h"
#include "Tests/Races/SimulatedModule.h"
#include "Tests/Support/Text.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zv::Testing
{

namespace
{

constexpr unsigned int Register = 4;
constexpr unsigned int Unregister = 8;
constexpr wchar_t Product[] = LR"({"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"})";

class Race : public ::testing::Test, protected SimulatedModule
{
protected:
    Race()
    {
        ComMemory::Watch();
        calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
            [this](REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
                return machine.CreateInstance(id, outer, context, iid, object);
            });
        calls.Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
            [](RPC_BINDING_HANDLE, void*) -> RPC_STATUS { return RPC_S_NO_CALL_ACTIVE; });
    }

    // One race. Its threads: a registration for one event and one for all, in a session each; another for the first
    // session; the firmware; a client with other commands; and the one who ends it all, by unregistering or by ending
    // the sessions.
    void Run(std::uint64_t seed)
    {
        Scheduler scheduler{seed};
        const ImportGate gate{module.Handle(), scheduler};
        Session one{service.Get(), L"one event"};
        Session all{service.Get(), L"all events"};
        std::multiset<std::wstring> answers; // of the registrations on the first session
        bool oneEnded = false;
        bool allEnded = false;
        bool joinerEnded = false;
        bool fired = false;
        std::size_t relayed = 0;
        const bool endsSessions = scheduler.Choose(2) == 0;
        const std::size_t wanted = scheduler.Choose(8); // events before the end
        const bool callbackUnregisters = scheduler.Choose(3) == 0;

        const auto command = [&](void* session, unsigned int function, const wchar_t* request) {
            EXPECT_EQ(Testing::Run(service.Get(), session, function, request, ProgressCallback{}).code, 0);
        };
        const auto listen = [&](void* session, const wchar_t* request, bool& ended) {
            const Reply reply =
                Testing::Run(service.Get(), session, Register, request, ProgressCallback{[&, session](wchar_t* text) {
                                 ++relayed;
                                 EXPECT_TRUE(std::wstring_view{text}.starts_with(L"{\"eventId\":")) << Narrow(text);
                                 if (callbackUnregisters)
                                 {
                                     command(session, Unregister, L"{}");
                                 }
                             }});
            EXPECT_EQ(reply.code, 0);
            ended = true;
            return reply.text;
        };
        // By the host's way of ending a registration, which may come before that waits.
        const auto end = [&](Session& session, const std::function<bool()>& ended) {
            if (!endsSessions)
            {
                while (!ended())
                {
                    command(session.Get(), Unregister, L"{}");
                    scheduler.WaitUntil("a turn", [asked = false]() mutable { return std::exchange(asked, true); });
                }
            }
            session.End();
        };

        scheduler.Run({
            [&] { answers.insert(listen(one.Get(), L"{\"filterEvent\":5}", oneEnded)); },
            [&] { EXPECT_EQ(listen(all.Get(), L"null", allEnded), L"{\"result\":0}"); },
            [&] {
                scheduler.WaitUntil("the other one", [&] { return scheduler.HasCalled(0); });
                answers.insert(listen(one.Get(), L"{\"filterEvent\":6}", joinerEnded));
            },
            [&] {
                scheduler.WaitUntil("a subscription", [&] {
                    return machine.Subscriptions() != 0 || (oneEnded && allEnded && joinerEnded);
                });
                for (int event = 0; event < 6; ++event)
                {
                    machine.FireEvent(5 + event % 3, event);
                }
                fired = true;
            },
            [&] {
                Session own{service.Get(), L"another"};
                command(own.Get(), 16, Product);
                command(own.Get(), Unregister, L"{}");
            },
            [&] {
                // A session may be ended once the commands on it have begun.
                scheduler.WaitUntil("the registrations", [&] {
                    return scheduler.HasCalled(0) && scheduler.HasCalled(1) && scheduler.HasCalled(2);
                });
                scheduler.WaitUntil("some events",
                                    [&] { return relayed >= wanted || fired || oneEnded || allEnded || joinerEnded; });
                end(one, [&] { return oneEnded && joinerEnded; });
                end(all, [&] { return allEnded; });
            },
        });

        // Of the two on one session, the later one joins the other where that waits already.
        EXPECT_EQ(answers.count(L"{\"result\":0}") + answers.count(L"{\"result\":1}"), 2u);
        EXPECT_TRUE(answers.contains(L"{\"result\":0}"));
        switches += scheduler.Switches();
        events += relayed;
        ledgers.comJoins.Offset(); // the last command on a session need not be the one that set the subscription up
        ExpectNothingLeft();
    }

    std::size_t switches = 0;
    std::size_t events = 0;
};

// The order in which three threads get their turns.
std::vector<int> OrderOf(std::uint64_t seed)
{
    Scheduler scheduler{seed};
    std::vector<int> order;
    std::vector<std::function<void()>> bodies;
    for (int thread = 0; thread < 3; ++thread)
    {
        bodies.emplace_back([&scheduler, &order, thread] {
            for (int turn = 0; turn < 10; ++turn)
            {
                order.push_back(thread);
                scheduler.WaitUntil("a turn", [asked = false]() mutable { return std::exchange(asked, true); });
            }
        });
    }
    scheduler.Run(bodies);
    return order;
}

TEST(Scheduler, GivesTheSameOrderForTheSameSeedAndAnotherForAnother)
{
    EXPECT_EQ(OrderOf(1).size(), 30u);
    EXPECT_EQ(OrderOf(1), OrderOf(1));
    EXPECT_NE(OrderOf(1), OrderOf(2));
}

TEST_F(Race, OfSessionsRegistrationsEventsAndEndsHasNoLoser)
{
    const std::uint64_t seeds = ForEachSeed(150, [this](std::uint64_t seed) { Run(seed); });
    std::printf("%llu seeds, %zu switches, %zu events relayed\n", static_cast<unsigned long long>(seeds), switches,
                events);
    EXPECT_GT(switches, seeds * 10);
    EXPECT_GT(events, 0u);
}

} // namespace

} // namespace Zv::Testing

int main(int count, char** arguments)
{
    ::testing::InitGoogleTest(&count, arguments);
    if (count == 4 && std::string_view{arguments[1]} == "--seeds")
    {
        Zv::Testing::ChooseSeeds(std::stoull(arguments[2]), std::stoull(arguments[3]));
    }
    Logging::LogManager::SetProvider(L"the host's");
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    return RUN_ALL_TESTS();
}
