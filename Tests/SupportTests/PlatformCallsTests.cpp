#include "Tests/Support/ModuleTest.h"

namespace
{

using namespace Zv::Testing;

class PlatformCallsOfTheModule : public ModuleTest
{
};

TEST_F(PlatformCallsOfTheModule, AreCountedAndTraced)
{
    Session second{service->Get()};

    EXPECT_EQ(plan.Calls("UuidCreate"), 2);
    EXPECT_EQ(transcript.Of({L"UuidCreate"}),
              (std::vector<std::wstring>{L"UuidCreate(ptr) = 0x00000000", L"UuidCreate(ptr) = 0x00000000"}));
}

TEST_F(PlatformCallsOfTheModule, CanBeReplaced)
{
    int made = 0;
    calls->Replace<"UuidCreate", decltype(UuidCreate)>([&made](UUID* uuid) -> RPC_STATUS {
        ++made;
        *uuid = {};
        return RPC_S_OK;
    });
    Session second{service->Get()};

    EXPECT_EQ(made, 2);
}

TEST_F(PlatformCallsOfTheModule, LeaveHeapBlocksInTheLedgerWhileASessionLives)
{
    const std::size_t before = ledgers.heap.Count();
    {
        const Session second{service->Get()};
        EXPECT_GT(ledgers.heap.Count(), before);
    }
    EXPECT_EQ(ledgers.heap.Count(), before);
}

TEST_F(PlatformCallsOfTheModule, IncludeEveryAllocatorThatItImports)
{
    for (const char* const other : {"_aligned_malloc", "_aligned_realloc", "_wcsdup", "strdup", "wcsdup", "HeapReAlloc",
                                    "LocalAlloc", "GlobalAlloc", "CoTaskMemAlloc", "_expand"})
    {
        EXPECT_FALSE(calls->Imports(other)) << other << " is imported and nobody accounts for it";
    }
    EXPECT_TRUE(calls->Imports("malloc"));
}

TEST_F(PlatformCallsOfTheModule, GoBackToThePlatformWhenTheTestEnds)
{
    const Zv::Interception::ImportTable imports{module.Handle()};
    using Malloc = void* (*)(std::size_t);
    const auto redirected = imports.Current<Malloc>(nullptr, "malloc");
    Shutdown();
    wmi.reset();
    calls.reset();

    EXPECT_NE(imports.Current<Malloc>(nullptr, "malloc"), redirected);
    calls.emplace(module.Handle(), transcript, plan, ledgers);
    wmi.emplace(*calls, transcript, plan);
}

} // namespace
