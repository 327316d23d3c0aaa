// EndSession held up, while the registration that it wakes comes to its end.
#include "Platform/Windows/WindowsDeclarations.h"
#include "Tests/Faults/ImportGate.h"
#include "Tests/Races/SimulatedModule.h"
#include "Tests/Support/Counter.h"
#include "Tests/Support/Text.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>

namespace Zv::Testing
{

namespace
{

enum class Role
{
    Nobody,
    Listener,
    Ender
};

thread_local Role t_role = Role::Nobody;

struct HeldUp
{
    const char* name;
    std::string_view wakesBy; // the call of EndSession that wakes the registration
    std::string_view behind;  // and the one behind which it is held up: that one, or its leaving the session's lock
    bool inMailbox;           // where the registration waits
};

constexpr std::string_view Leave = "ReleaseSRWLockExclusive";

// Holds EndSession up until the registration has returned, or gets no further without it.
class HeldEnd final : public GateKeeper
{
public:
    HeldEnd(const HeldUp& heldUp, const void* session) : m_heldUp{heldUp}, m_session{session} {}

    void WaitForTheRegistrationToWait() { m_waiting.WaitFor(1); }
    void NoteReturnOfTheRegistration() { m_stuck.Add(); }

    [[nodiscard]] bool WasHeld() const noexcept { return m_held; }
    [[nodiscard]] bool WasFreedMeanwhile() const noexcept { return m_freedMeanwhile; }
    [[nodiscard]] Role WhoLeftCom() const noexcept { return m_leftCom; }

    [[nodiscard]] bool Answers(const GatedImport& import, const CallArguments& arguments,
                               std::uint64_t& result) noexcept override
    {
        if (import.name == "CoUninitialize")
        {
            m_leftCom = t_role;
        }
        if (t_role == Role::Listener)
        {
            Watch(import, arguments);
        }
        return t_role == Role::Ender && Holds(import, arguments, result);
    }

private:
    void Watch(const GatedImport& import, const CallArguments& arguments) noexcept
    {
        if (import.name == (m_heldUp.inMailbox ? "SleepConditionVariableSRW" : "WaitForMultipleObjects"))
        {
            m_waiting.Add();
        }
        const bool atTheLock = import.name == "AcquireSRWLockExclusive" && arguments.first == m_lock;
        if (m_woken && (m_heldUp.behind == Leave ? import.name == "Sleep" : atTheLock))
        {
            m_stuck.Add();
        }
        if (m_holding && import.name == "free" && arguments.first == reinterpret_cast<std::uint64_t>(m_session))
        {
            m_freedMeanwhile = true;
        }
    }

    bool Holds(const GatedImport& import, const CallArguments& arguments, std::uint64_t& result) noexcept
    {
        if (import.name == "AcquireSRWLockExclusive" && m_lock == 0)
        {
            m_lock = arguments.first; // the session's comes first
        }
        m_woken = m_woken || import.name == m_heldUp.wakesBy;
        if (m_held || !m_woken || import.name != m_heldUp.behind ||
            (m_heldUp.behind == Leave && arguments.first != m_lock))
        {
            return false;
        }
        m_held = true;
        result = import.Make(arguments);
        m_holding = true;
        m_stuck.WaitFor(1);
        m_holding = false;
        return true;
    }

    const HeldUp m_heldUp;
    const void* const m_session;
    Counter m_waiting;
    Counter m_stuck;
    std::atomic<std::uint64_t> m_lock = 0; // the session's
    std::atomic<bool> m_woken = false;
    std::atomic<bool> m_holding = false;
    std::atomic<bool> m_freedMeanwhile = false;
    std::atomic<Role> m_leftCom = Role::Nobody;
    bool m_held = false; // of the thread that ends the session
};

class SessionEnd : public ::testing::TestWithParam<HeldUp>, protected SimulatedModule
{
protected:
    SessionEnd()
    {
        ComMemory::Watch();
        calls.Replace<"CoCreateInstance", decltype(CoCreateInstance)>(
            [this](REFCLSID id, IUnknown* outer, DWORD context, REFIID iid, void** object) {
                return machine.CreateInstance(id, outer, context, iid, object);
            });
        calls.Replace<"RpcServerInqCallAttributesW", RPC_STATUS(RPC_BINDING_HANDLE, void*)>(
            [this](RPC_BINDING_HANDLE, void* attributes) -> RPC_STATUS {
                static_cast<RPC_CALL_ATTRIBUTES_V3_W*>(attributes)->CallStatus = clientHasLeft ? 1 : 0;
                return RPC_S_OK;
            });
    }

    void Register(const Session& session)
    {
        const auto function = static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification);
        EXPECT_EQ(Testing::Run(service.Get(), session.Get(), function, L"null", ProgressCallback{[](wchar_t*) {}}).code,
                  0);
    }

    // A client that has left ends its registration, and leaves the next one of its session waiting in the mailbox.
    void RegisterForAClientThatHasLeft(const Session& session)
    {
        clientHasLeft = true;
        std::thread firmware{[this] {
            while (machine.Subscriptions() == 0)
            {
                Sleep(1);
            }
            machine.FireEvent(5, 1);
        }};
        Register(session);
        firmware.join();
        clientHasLeft = false;
    }

    std::atomic<bool> clientHasLeft = false;
};

TEST_P(SessionEnd, LeavesTheSubscriptionToTheThreadThatSetItUp)
{
    const Watchdog watchdog{GetParam().name};
    Session session{service.Get(), L"a listener"};
    HeldEnd held{GetParam(), session.Get()};
    const ImportGate gate{module.Handle(), held};
    std::thread listener{[&] {
        if (GetParam().inMailbox)
        {
            RegisterForAClientThatHasLeft(session);
        }
        t_role = Role::Listener;
        Register(session);
        held.NoteReturnOfTheRegistration();
    }};
    held.WaitForTheRegistrationToWait();

    t_role = Role::Ender;
    session.End();
    t_role = Role::Nobody;
    listener.join();

    EXPECT_TRUE(held.WasHeld());
    EXPECT_EQ(held.WhoLeftCom(), Role::Listener);
    EXPECT_FALSE(held.WasFreedMeanwhile()) << "the lock that EndSession is leaving is part of the session";
    ExpectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(
    HeldUp, SessionEnd,
    ::testing::Values(HeldUp{"BehindItsSetEvent", "SetEvent", "SetEvent", false},
                      HeldUp{"BehindItsUnlock", "SetEvent", Leave, false},
                      HeldUp{"BehindItsWakingTheMailbox", "WakeAllConditionVariable", "WakeAllConditionVariable", true},
                      HeldUp{"BehindItsUnlockWithTheMailboxAwake", "WakeAllConditionVariable", Leave, true}),
    [](const auto& heldUp) { return std::string{heldUp.param.name}; });

} // namespace

} // namespace Zv::Testing
