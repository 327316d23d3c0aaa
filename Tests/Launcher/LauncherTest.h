// The fixture of the launcher's tests.
#pragma once

#include "Services/Launcher/Launcher.h"
#include "Tests/Launcher/FakeUserSession.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/ModuleHeap.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Transcript.h"
#include "Tests/Support/Watchdog.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

using Tessel::Server::Services::Launcher;

// The lines of a story, one below the other.
[[nodiscard]] std::string Lines(const std::vector<std::wstring>& lines);

// Uses the launcher that the module exports, with a faked user session. At the end of each test nothing may be left
// over: tokens, environment blocks, attribute lists, package descriptions, processes, heap blocks, impersonation.
class LauncherTest : public ::testing::Test
{
protected:
    LauncherTest();
    ~LauncherTest() override;

    void TearDown() override;

    // What the module did since the last call of this, one line each, log lines among the platform calls.
    [[nodiscard]] std::string Story();
    // The log lines alone.
    [[nodiscard]] std::string Log() const;

    // Runs the work, then once more for each platform call that it made, with just that call failing, and once for each
    // allocation that it made, with just that one failing. Nothing more than before may be held after any of the runs;
    // `work` may throw std::runtime_error where a platform call fails and std::bad_alloc where an allocation fails.
    void RunWithEachPlatformCallFailing(const std::function<void()>& work);
    void RunWithEachAllocationFailing(const std::function<void()>& work);

    // What the module holds now, in words; empty when it holds nothing.
    [[nodiscard]] std::string Held() const;

private:
    Watchdog m_watchdog;

protected:
    // In the order in which they stand on each other.
    Transcript transcript;
    FaultPlan plan;
    Ledgers ledgers;
    std::optional<PlatformCalls> calls;
    std::optional<ModuleHeap> heap;
    std::optional<FakeUserSession> session;
    std::optional<Launcher> launcher;
};

} // namespace Zv::Testing
