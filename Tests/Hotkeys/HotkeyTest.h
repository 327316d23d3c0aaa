// The fixture of the companion apps' tests.
#pragma once

#include "Tests/Hotkeys/ConsoleUser.h"
#include "Tests/Hotkeys/FreshModule.h"
#include "Tests/Support/FakeEvents.h"
#include "Tests/Support/FakeWmi.h"
#include "Tests/Support/FaultPlan.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Transcript.h"
#include "Tests/Support/Watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

// Texts of log lines, as Transcript shows them.
inline constexpr wchar_t LumashadeRuns[] = L"Info hotkeyListener() for Lumashade app is running.";
inline constexpr wchar_t ChimeboxRuns[] = L"Info hotkeyListener() for Chimebox app is running.";
inline constexpr wchar_t LumashadeNotSupported[] =
    L"Warning hotKeyListener() Lumashade App Launcher feature is not supported for this platform.";
inline constexpr wchar_t ListenerFailed[] = L"Error SetupListner() failed to setup listner.";

// A simulated notebook with a service that has not been started yet: nothing of the module is armed. Each test has a
// module of its own. At its end the listening threads are told to stop and waited for; nothing
// may be left over but what the listeners keep as long as their module lives: subscriptions and sessions.
class HotkeyTest : public ::testing::Test
{
protected:
    HotkeyTest();
    ~HotkeyTest() override;

    void TearDown() override;

    // The board's product id, as WMI gives it.
    void SetBoard(Value product);

    // The host starts the service: slot 5.
    void Start();
    // Starts the service and waits until that many subscriptions are there.
    void StartAndWait(std::size_t subscriptions);

    HRESULT Press(int id, int data) { return Emit(FirmwareEvent(id, data)); }
    HRESULT Emit(ObjectScriptPtr event);

    void Fail(const std::string& site, Fault fault) { plan.Fail(site, fault); }

    // Log lines with their level, in order.
    [[nodiscard]] std::vector<std::wstring> Log() const;

    // Lets the register commands return and waits for their threads to end.
    void StopListeners();
    [[nodiscard]] std::size_t Threads() const { return m_threads.size(); }

private:
    void WatchThreads();

    Watchdog m_watchdog;
    std::vector<HANDLE> m_threads;    // changed by the thread that starts the service
    std::vector<HANDLE> m_stopEvents; // duplicates; guarded by m_lock
    mutable Tessel::Server::Shared::Lock m_lock;

protected:
    // In the order in which they stand on each other.
    Transcript transcript;
    FaultPlan plan;
    Ledgers ledgers;
    EventSource events;
    FreshModule module;
    std::optional<PlatformCalls> calls;
    std::optional<FakeWmi> wmi;
    std::optional<ConsoleUser> user;
    std::unique_ptr<ZVService> service;
};

} // namespace Zv::Testing
