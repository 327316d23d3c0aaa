#include "Tests/Support/ModuleTest.h"

#include "Interception/ImportTable.h"
#include "Logging/Logging.h"
#include "Tests/FakeLogging/FakeLogging.h"
#include "Tests/Support/GuardHeap.h"
#include "Tests/Support/ThisBuild.h"

#include <objbase.h>

#include <cstdlib>

namespace Zv::Testing
{

namespace
{

std::string CurrentTestName()
{
    const ::testing::TestInfo* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    return std::string{test->test_suite_name()} + "." + test->name();
}

// The run time keeps a few blocks per thread from the first exception on. Raising one before the accounting begins
// leaves the ledgers with the module's own blocks.
void WarmUp(const Module& module)
{
    const Service service{module};
    Session session{service.Get()};
    Run(service.Get(), session.Get(), 16, L"{}");
}

} // namespace

LogLine CannotBeNull(const char* className, const char* method, const char* name)
{
    return Warning(L"%S.%S - %S cannot be null", className, method, name);
}

LogLine CallFailed(const char* className, const char* method, const wchar_t* call, HRESULT hr)
{
    return Warning(L"%S.%S - failed on function %s with HRESULT 0x%x", className, method, call, hr);
}

ModuleTest::ModuleTest(std::chrono::milliseconds limit) : m_watchdog{CurrentTestName(), limit}
{
    [[maybe_unused]] static const Module keptLoaded; // loading it anew takes longer than most tests
    ComMemory::Watch();
    WarmUp(module);
    Logging::LogManager::SetProvider(L"the host's");
    calls.emplace(module.Handle(), transcript, plan, ledgers);
    wmi.emplace(*calls, transcript, plan);
    m_comBlocksBefore = ComMemory::Blocks();
    service.emplace(module);
    session.emplace(service->Get(), ClientId);
    transcript.Clear();
    plan.Clear();
}

ModuleTest::~ModuleTest()
{
    wmi.reset();
    calls.reset();
    FakeLoggingForgetProvider();
}

Reply ModuleTest::Run(unsigned int function, const wchar_t* request)
{
    return Testing::Run(service->Get(), session->Get(), function, request);
}

void ModuleTest::ForgetException()
{
    const auto heap = reinterpret_cast<HANDLE>(_get_heap_handle());
    ledgers.heap.ForgetIf(
        [heap](const void* block) { return !GuardHeap::IsLive(block) && !HeapValidate(heap, 0, block); });
}

void ModuleTest::Shutdown()
{
    session.reset();
    service.reset();
}

void ModuleTest::TearDown()
{
    plan.Clear();
    Shutdown();
    int joins = ledgers.comJoins.Take();
    EXPECT_EQ(joins, m_comJoinsLeft) << "joins of COM that the module did not leave on this thread";
    for (; joins > 0; --joins)
    {
        CoUninitialize();
    }
    ledgers.heap.ForgetIf(
        [](const void* block) { return !GuardHeap::IsLive(block) && ThisBuild::IsTheRunTimes(block); });
    EXPECT_EQ(Narrow(ledgers.Outstanding()), "") << "left over";
    EXPECT_EQ(wmi->Outstanding(), 0) << "references on scripted COM objects";
    EXPECT_EQ(ComMemory::Blocks(), m_comBlocksBefore) << "BSTRs, SAFEARRAYs and other COM memory";
}

} // namespace Zv::Testing
