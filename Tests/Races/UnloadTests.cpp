// The module loaded, used by many threads and unloaded, again and again, in all orders.
#include "Interception/LoadWatch.h"
#include "Simulator/AutomationWatch.h"
#include "Simulator/Machine.h"
#include "Tests/Races/Scheduler.h"
#include "Tests/Races/Seeds.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Transcript.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Product[] = LR"({"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"})";

// One load of the module, led through the scheduler from its first call to its last.
class LoadedModule
{
public:
    LoadedModule(Simulator::Machine& machine, Scheduler& scheduler)
        : m_machine{machine},
          m_scheduler{scheduler},
          m_watch{L"WMIService.dll", [this](HMODULE module) { Redirect(module); }}
    {
        m_module.emplace();
        m_watch.Rethrow();
        m_service.emplace(*m_module);
    }

    [[nodiscard]] ZVService* Service() const noexcept { return m_service->Get(); }

    void Unload()
    {
        m_service.reset();
        m_module.reset();
    }

    // What it has not given back, in words.
    [[nodiscard]] std::string Leftovers() const
    {
        const bool loaded = GetModuleHandleW(L"WMIService.dll") != nullptr;
        return Narrow(m_ledgers.Outstanding()) + (loaded ? "the module itself" : "");
    }

private:
    void Redirect(HMODULE module)
    {
        m_automation.emplace(m_machine, module);
        m_calls.emplace(module, m_transcript, m_plan, m_ledgers);
        m_calls->Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
            [this](REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
                return m_machine.CreateInstance(id, outer, context, iid, object);
            });
        m_calls->Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
            [](RPC_BINDING_HANDLE, void*) -> RPC_STATUS { return RPC_S_NO_CALL_ACTIVE; });
        m_gate.emplace(module, m_scheduler);
    }

    Simulator::Machine& m_machine;
    Scheduler& m_scheduler;
    Transcript m_transcript;
    FaultPlan m_plan;
    Ledgers m_ledgers;
    // In the order in which they stand on each other.
    std::optional<Simulator::AutomationWatch> m_automation;
    std::optional<PlatformCalls> m_calls;
    std::optional<ImportGate> m_gate;
    Interception::LoadWatch m_watch;
    std::optional<Module> m_module;
    std::optional<Testing::Service> m_service;
};

class UnloadRace : public ::testing::Test
{
protected:
    // The threads: two listeners, with a session each; the firmware; the one who ends the sessions; and two clients,
    // one of which makes commands fail. Whoever is the last to need the module destroys the service and unloads the
    // module, while the others still live.
    void Run(std::uint64_t seed)
    {
        Scheduler scheduler{seed};
        LoadedModule module{machine, scheduler};
        ZVService* const service = module.Service();
        Session one{service, L"one event"};
        Session all{service, L"all events"};
        std::size_t relayed = 0;
        std::size_t listening = 2;
        const std::size_t wanted = scheduler.Choose(8); // events before the end

        const auto command = [&](void* session, FunctionNumber function, const wchar_t* request, int code) {
            EXPECT_EQ(Testing::Run(service, session, static_cast<unsigned int>(function), request, {}).code, code);
        };
        const auto listen = [&](const Session& session, const wchar_t* request) {
            const Reply reply = Testing::Run(service, session.Get(),
                                             static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification),
                                             request, ProgressCallback{[&](wchar_t*) { ++relayed; }});
            EXPECT_EQ(reply.code, 0);
            --listening;
        };
        const auto client = [&] {
            for (int sessions = 0; sessions < 2; ++sessions)
            {
                const Session own{service, L"another"};
                command(own.Get(), FunctionNumber::GetWmiPropertyValue, Product, 0);
                command(own.Get(), FunctionNumber::GetWmiPropertyValue, L"{}", ResultCode::PropertyMissing);
                command(own.Get(), FunctionNumber::UnregisterBiosWmiEventNotification, L"{}", 0);
            }
        };
        std::vector<std::function<void()>> bodies{
            [&] { listen(one, L"{\"filterEvent\":5}"); },
            [&] { listen(all, L"null"); },
            [&] {
                scheduler.WaitUntil("a subscription", [&] { return machine.Subscriptions() != 0 || listening == 0; });
                for (int event = 0; event < 12; ++event)
                {
                    machine.FireEvent(5 + event % 2, event);
                }
            },
            [&] {
                // A session may be ended once the commands on it have begun.
                scheduler.WaitUntil("the registrations",
                                    [&] { return scheduler.HasCalled(0) && scheduler.HasCalled(1); });
                scheduler.WaitUntil("some events",
                                    [&, turns = 0]() mutable { return relayed >= wanted || ++turns > 50; });
                one.End();
                all.End();
            },
            client,
            client,
        };
        std::size_t users = bodies.size();
        bool unloaded = false;
        for (std::function<void()>& body : bodies)
        {
            body = [&, use = std::move(body)] {
                use();
                if (--users == 0)
                {
                    module.Unload();
                    unloaded = true;
                }
                scheduler.WaitUntil("the end of the module", [&] { return unloaded; });
            };
        }
        scheduler.Run(bodies);

        switches += scheduler.Switches();
        events += relayed;
        EXPECT_EQ(module.Leftovers(), "");
        EXPECT_EQ(machine.Subscriptions(), 0u);
        EXPECT_EQ(machine.Outstanding().Total(), 0u) << machine.Outstanding().Describe();
    }

    Simulator::Machine machine = Simulator::Machine::Load(ZV_MACHINES "/notebook.json");
    std::size_t switches = 0;
    std::size_t events = 0;
};

TEST_F(UnloadRace, OfSessionsRegistrationsEventsAndTheEndOfTheModuleLeavesNothing)
{
    const std::uint64_t seeds = ForEachSeed(60, [this](std::uint64_t seed) { Run(seed); });
    std::printf("%llu loads, %zu switches, %zu events relayed\n", static_cast<unsigned long long>(seeds), switches,
                events);
    EXPECT_GT(switches, seeds * 10);
    EXPECT_GT(events, 0u);
}

} // namespace

} // namespace Zv::Testing
