// The fixture of tests that drive the module through its host interface.
#pragma once

#include "Logging/Logging.h"
#include "Tests/Support/CountingCallback.h"
#include "Tests/Support/FakeWmi.h"
#include "Tests/Support/FaultPlan.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/PlatformCalls.h"
#include "Tests/Support/Transcript.h"
#include "Tests/Support/Watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace Zv::Testing
{

// The client id of the fixture's session: the context of the log lines.
inline constexpr wchar_t ClientId[] = L"test client";

// Type names as they begin log lines.
inline constexpr char WmiServiceClass[] = "class Zv::Tessel::Server::Services::WMI::WMIService";
inline constexpr char UtilHelperClass[] = "class Zv::Tessel::Server::Services::UtilHelper";
inline constexpr char JsonUtilsClass[] = "class Zv::Tessel::Server::Services::JsonUtils";
inline constexpr char PublicWmiClass[] = "class Zv::Tessel::Server::Shared::WMI::PublicWmi";
inline constexpr char ZvBiosWmiClass[] = "class Zv::Tessel::Server::Shared::WMI::ZVBiosWmi";

// A line that the module is to write through the LoggingData overload, with the session's client id.
template <class... Arguments>
[[nodiscard]] LogLine Line(Level level, const wchar_t* format, Arguments... arguments)
{
    return {level, Overload::Data, ClientId, format, Format(format, arguments...), 0};
}
template <class... Arguments>
[[nodiscard]] LogLine Warning(const wchar_t* format, Arguments... arguments)
{
    return Line(Level::Warning, format, arguments...);
}
template <class... Arguments>
[[nodiscard]] LogLine Error(const wchar_t* format, Arguments... arguments)
{
    return Line(Level::Error, format, arguments...);
}

// "%S.%S - %S cannot be null"
[[nodiscard]] LogLine CannotBeNull(const char* className, const char* method, const char* name);
// "%S.%S - failed on function %s with HRESULT 0x%x"
[[nodiscard]] LogLine CallFailed(const char* className, const char* method, const wchar_t* call, HRESULT hr);

// Loads the module, redirects its imports, plugs in scripted WMI and opens a session. At the end of each test nothing
// may be left over: heap blocks, handles, COM references and memory, joins of COM, impersonation.
class ModuleTest : public ::testing::Test
{
protected:
    // limit: what the whole test may take.
    explicit ModuleTest(std::chrono::milliseconds limit = Watchdog::Default);
    ~ModuleTest() override;

    void TearDown() override;

    // Runs a command on the fixture's session.
    Reply Run(unsigned int function, const wchar_t* request);
    Reply Run(FunctionNumber function, const wchar_t* request)
    {
        return Run(static_cast<unsigned int>(function), request);
    }

    void Fail(const std::string& site, Fault fault) { plan.Fail(site, fault); }
    [[nodiscard]] std::vector<LogLine> Log() const { return transcript.Log(); }

    // After an exception of the module was caught here: its memory, which the module's run time took and the test's run
    // time gave back, leaves the ledger.
    void ForgetException();

    // Ends the session and destroys the service; called by TearDown for those that are left.
    void Shutdown();
    // Where the module leaves the test's thread joined to COM by contract: how often. The fixture leaves it then.
    void ExpectComJoinsLeft(int joins) { m_comJoinsLeft = joins; }

private:
    Watchdog m_watchdog;
    int m_comJoinsLeft = 0;
    long m_comBlocksBefore = 0;

protected:
    // In the order in which they stand on each other.
    Module module;
    Transcript transcript;
    FaultPlan plan;
    Ledgers ledgers;
    std::optional<PlatformCalls> calls;
    std::optional<FakeWmi> wmi;
    std::optional<Service> service;
    std::optional<Session> session;
};

} // namespace Zv::Testing
