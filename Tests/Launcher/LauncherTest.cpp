#include "Tests/Launcher/LauncherTest.h"

#include "Interception/ModuleExports.h"
#include "Logging/Logging.h"
#include "Tests/FakeLogging/FakeLogging.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Text.h"

#include <new>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

// Loaded once for the process: the classes that it exports stay bound to it.
HMODULE TheModule()
{
    static const Module module;
    Interception::BindModuleExports(module.Handle());
    return module.Handle();
}

// The run time keeps a few blocks per thread from the first exception on: they must not look like the module's.
void RaiseOneException(Transcript& transcript, FaultPlan& plan)
{
    Ledgers ledgers;
    PlatformCalls calls{TheModule(), transcript, plan, ledgers};
    const FakeUserSession session{calls, transcript, ledgers};
    try
    {
        static_cast<void>(Launcher{}.GetOriginAndVersionByFullName(L"none"));
    }
    catch (const std::runtime_error&)
    {
    }
}

std::wstring Joined(const std::vector<std::wstring>& lines)
{
    std::wstring text;
    for (const std::wstring& line : lines)
    {
        text += line + L"\n";
    }
    return text;
}

} // namespace

std::string Lines(const std::vector<std::wstring>& lines)
{
    return Narrow(Joined(lines));
}

LauncherTest::LauncherTest() : m_watchdog{"a launcher test"}
{
    Logging::LogManager::SetProvider(L"the host's");
    RaiseOneException(transcript, plan);
    calls.emplace(TheModule(), transcript, plan, ledgers);
    heap.emplace(*calls, ledgers);
    session.emplace(*calls, transcript, ledgers);
    session->variables = {{L"%userprofile%", L"C:\\Users\\ann"}};
    launcher.emplace();
    transcript.Clear();
    plan.Clear();
}

LauncherTest::~LauncherTest()
{
    launcher.reset();
    session.reset();
    heap.reset();
    calls.reset();
    FakeLoggingForgetProvider();
}

void LauncherTest::TearDown()
{
    launcher.reset();
    EXPECT_EQ(Held(), "");
}

std::string LauncherTest::Story()
{
    const std::string story = Lines(transcript.All());
    transcript.Clear();
    return story;
}

std::string LauncherTest::Log() const
{
    std::vector<std::wstring> lines;
    for (const LogLine& line : transcript.Log())
    {
        lines.push_back(Describe(line));
    }
    return Lines(lines);
}

std::string LauncherTest::Held() const
{
    return Narrow(ledgers.Outstanding());
}

void LauncherTest::RunWithEachPlatformCallFailing(const std::function<void()>& work)
{
    work();
    const std::string held = Held();
    const int before = session->Calls();
    work();
    const int count = session->Calls() - before;
    ASSERT_GT(count, 0);
    for (int call = 1; call <= count; ++call)
    {
        transcript.Clear();
        session->FailCall(call);
        try
        {
            work();
        }
        catch (const std::runtime_error&)
        {
        }
        ASSERT_EQ(Held(), held) << "with call " << call << " failing:\n" << Story();
    }
}

void LauncherTest::RunWithEachAllocationFailing(const std::function<void()>& work)
{
    work();
    const std::string held = Held();
    plan.Clear();
    work();
    const int count = plan.Calls("malloc");
    ASSERT_GT(count, 0);
    for (int call = 1; call <= count; ++call)
    {
        transcript.Clear();
        plan.Clear();
        plan.Fail("malloc", Fault::Nth(call, 0));
        try
        {
            work();
        }
        catch (const std::bad_alloc&)
        {
        }
        plan.Clear();
        ASSERT_EQ(Held(), held) << "with allocation " << call << " failing:\n" << Story();
        work(); // and then all is well again
        ASSERT_EQ(Held(), held);
    }
}

} // namespace Zv::Testing
