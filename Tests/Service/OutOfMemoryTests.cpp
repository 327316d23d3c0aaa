// Memory that runs out and stays out, on threads that have never raised an exception before.

#include "Tests/Support/ModuleTest.h"
#include "Tests/Support/Watchdog.h"

#include <thread>

namespace
{

using namespace Zv::Testing;

class OutOfMemory : public ModuleTest, public testing::WithParamInterface<unsigned int>
{
protected:
    void SetUp() override
    {
        ModuleTest::SetUp();
        wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Text(std::wstring(5000, L'x'))}})}};
    }

    Reply RunOnANewThread()
    {
        Reply reply;
        std::thread{[&] { reply = Run(GetParam(), Request); }}.join();
        return reply;
    }

    static constexpr const wchar_t* Request =
        LR"({"property":"P","wmiClass":"C","wmiNamespace":"ns","name":"n","value":"v","filterEvent":1,)"
        LR"("command":1,"commandType":2,"inputDataSize":0,"returnDataSize":4})";
};

TEST_P(OutOfMemory, ForGoodFromAnyAllocationOnIsAGeneralFailureAndNoMore)
{
    const Watchdog watchdog{"memory that stays out"};
    RunOnANewThread();
    const int good = RunOnANewThread().code;
    plan.Clear();
    RunOnANewThread();
    const int allocations = plan.Calls("malloc");

    for (int first = 1; first <= allocations; ++first)
    {
        plan.Clear();
        const std::size_t before = ledgers.heap.Count();
        Fail("malloc", Fault::From(first, 0));
        Fail("realloc", Fault::Every(0));
        Fail("calloc", Fault::Every(0));

        const int code = RunOnANewThread().code;

        EXPECT_TRUE(code == 0x20000002 || code == good) << first << ": " << code;
        plan.Clear();
        EXPECT_EQ(ledgers.heap.Count(), before) << first;
        EXPECT_EQ(RunOnANewThread().code, good) << "after " << first;
    }
}

INSTANTIATE_TEST_SUITE_P(Function, OutOfMemory, testing::Values(2, 8, 16, 32, 64, 128, 256, 3));

} // namespace
