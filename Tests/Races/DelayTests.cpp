// Each call of a registration taking long, while its session ends.
#include "Tests/Faults/ImportGate.h"
#include "Tests/Races/SimulatedModule.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>

namespace Zv::Testing
{

namespace
{

constexpr DWORD Delay = 8; // milliseconds

// Who calls the module: one that listens, the firmware, and one that ends the session or the registration.
enum Role
{
    Listener,
    Firmware,
    Ender,
    Roles,
    Nobody
};

thread_local Role t_role = Nobody;

// Counts the calls that each role makes, and holds up one of them until the others have come to their end, or get no
// further without it.
class HeldCall final : public GateKeeper
{
public:
    // number 0: none.
    HeldCall(Role role, int number) : m_role{role}, m_number{number} {}

    [[nodiscard]] int Calls(Role role) const noexcept { return m_calls[role]; }
    [[nodiscard]] bool IsReached() const noexcept { return m_number != 0 && m_calls[m_role] >= m_number; }
    void NoteEnd() noexcept { ++m_ended; }

    [[nodiscard]] bool Answers(const GatedImport&, const CallArguments&, std::uint64_t&) noexcept override
    {
        if (t_role != Nobody && ++m_calls[t_role] == m_number && t_role == m_role)
        {
            const DWORD lastError = GetLastError();
            for (DWORD waited = 0; waited < Delay && m_ended < Roles - 1; ++waited)
            {
                Sleep(1);
            }
            SetLastError(lastError);
        }
        return false;
    }

private:
    const Role m_role;
    const int m_number;
    std::array<std::atomic<int>, Roles> m_calls{};
    std::atomic<int> m_ended = 0;
};

class Delays : public ::testing::TestWithParam<bool>, protected SimulatedModule
{
protected:
    Delays()
    {
        ComMemory::Watch();
        calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
            [this](REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
                return machine.CreateInstance(id, outer, context, iid, object);
            });
        calls.Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
            [](RPC_BINDING_HANDLE, void*) -> RPC_STATUS { return RPC_S_NO_CALL_ACTIVE; });
    }

    [[nodiscard]] int Command(const Session& session, FunctionNumber function, const wchar_t* request,
                              ProgressCallback callback)
    {
        return Testing::Run(service.Get(), session.Get(), static_cast<unsigned int>(function), request,
                            std::move(callback))
            .code;
    }

    // A registration that gets events until its session ends or it is unregistered: while the call is held up, or, when
    // that comes later, at the first event.
    void Play(HeldCall& held)
    {
        const ImportGate gate{module.Handle(), held};
        Session session{service.Get(), L"a listener"};
        std::atomic<int> relayed = 0;
        std::atomic<bool> ended = false;
        std::array<int, Roles> joinsOfCom{};
        const auto start = [&](Role role, const std::function<void()>& act) {
            return std::thread{[&, role, act] {
                t_role = role;
                act();
                t_role = Nobody;
                joinsOfCom[role] = ledgers.comJoins.Take();
                held.NoteEnd();
            }};
        };
        const auto until = [](const std::function<bool()>& holds) {
            while (!holds())
            {
                Sleep(1);
            }
        };

        std::thread listener = start(Listener, [&] {
            EXPECT_EQ(Command(session, FunctionNumber::RegisterBiosEventNotification, L"{\"filterEvent\":5}",
                              ProgressCallback{[&](wchar_t*) { ++relayed; }}),
                      0);
            ended = true;
        });
        std::thread firmware = start(Firmware, [&] {
            until([&] { return machine.Subscriptions() != 0 || ended; });
            machine.FireEvent(5, 1);
            machine.FireEvent(5, 2);
        });
        std::thread ender = start(Ender, [&] {
            until([&] { return held.Calls(Listener) != 0 && (held.IsReached() || relayed != 0 || ended); });
            while (GetParam() && !ended)
            {
                EXPECT_EQ(Command(session, FunctionNumber::UnregisterBiosWmiEventNotification, L"{}", {}), 0);
                Sleep(1);
            }
            session.End();
        });
        for (std::thread* const thread : {&listener, &firmware, &ender})
        {
            thread->join();
        }
        // The session's end leaves COM on its own thread when no registration waits any more.
        EXPECT_EQ(joinsOfCom[Listener], GetParam() ? 1 : 0);
        EXPECT_EQ(joinsOfCom[Ender], GetParam() ? -1 : 0);
        ExpectNothingLeft();
    }
};

TEST_P(Delays, OfEachCallWhileTheRegistrationEndsHarmNobody)
{
    HeldCall none{Nobody, 0};
    Play(none);
    int reached = 0;
    int played = 0;
    for (const Role role : {Listener, Firmware, Ender})
    {
        for (int number = 1; number <= none.Calls(role) && !HasFailure(); ++number)
        {
            const std::string name = "role " + std::to_string(role) + ", call " + std::to_string(number);
            SCOPED_TRACE(name);
            const Watchdog watchdog{name};
            HeldCall held{role, number};
            Play(held);
            reached += held.IsReached() ? 1 : 0;
            ++played;
        }
    }
    std::printf("%d calls held up, %d of them reached\n", played, reached);
    EXPECT_GT(reached, played / 2);
}

INSTANTIATE_TEST_SUITE_P(ByTheSession, Delays, ::testing::Values(false));
INSTANTIATE_TEST_SUITE_P(ByUnregistering, Delays, ::testing::Values(true));

} // namespace

} // namespace Zv::Testing
