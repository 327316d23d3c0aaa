// The ends of the module's life: a host that frees it, and a process that ends, with listening threads anywhere.
// docs/lifecycle.md tells the same for people. Each case is a process of its own; one that hangs or crashes fails.

#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/Module.h"

#include <gtest/gtest.h>

#include <string>

namespace Zv::Testing
{

namespace
{

std::string Probe(const wchar_t* scenario)
{
    return RunToEnd(TestFolder() / L"HotkeyProbe.exe", scenario);
}

TEST(Lifecycle, AnArmedModuleStaysLoadedAndItsKeysWorkHoweverOftenItIsFreed)
{
    EXPECT_EQ(Probe(L"unload-armed"), "still loaded\nthe key still works\nthe end\n");
}

TEST(Lifecycle, AModuleThatWasNotStartedIsUnloaded)
{
    EXPECT_EQ(Probe(L"unload-unstarted"), "unloaded\nthe end\n");
}

TEST(Lifecycle, AModuleThatCouldNotBeKeptLoadedHasNoThreadsAndIsUnloaded)
{
    EXPECT_EQ(Probe(L"unload-unkept"), "unloaded\nthe end\n");
}

TEST(Lifecycle, AModuleThatCouldNotBePinnedKeepsAReferenceForItsThreads)
{
    EXPECT_EQ(Probe(L"unload-unpinned"), "still loaded\nthe key still works\nthe end\n");
}

TEST(Lifecycle, AModuleWhoseThreadsCouldNotStartIsUnloaded)
{
    EXPECT_EQ(Probe(L"unload-without-threads"), "unloaded\nthe end\n");
}

TEST(Lifecycle, TheProcessEndsWhileTheListenersWait)
{
    EXPECT_EQ(Probe(L"return-armed"), "the end\n");
}

TEST(Lifecycle, TheProcessEndsWhileAListenerIsInItsCallback)
{
    EXPECT_EQ(Probe(L"return-in-callback"), "the end\n");
}

TEST(Lifecycle, TheProcessEndsWhileEventsWaitForAListener)
{
    EXPECT_EQ(Probe(L"return-with-blocked-producers"), "the end\n");
}

TEST(Lifecycle, TheProcessEndsWhileListenersAreBeingSetUp)
{
    EXPECT_EQ(Probe(L"return-in-set-up"), "the end\n");
}

TEST(Lifecycle, TheProcessEndsRightAfterTheStart)
{
    for (int n = 0; n < 5; ++n)
    {
        EXPECT_EQ(Probe(L"exit-at-once"), "the end\n");
    }
}

TEST(Lifecycle, TheProcessEndsOnAnotherThread)
{
    EXPECT_EQ(Probe(L"exit-on-another-thread"), "");
}

TEST(Lifecycle, TheProcessEndsInAFloodOfEvents)
{
    for (int n = 0; n < 5; ++n)
    {
        EXPECT_EQ(Probe(L"return-flooded"), "the end\n");
    }
}

TEST(Lifecycle, TheProcessEndsWhileAClientListens)
{
    EXPECT_EQ(Probe(L"return-while-a-client-listens"), "the end\n");
}

} // namespace

} // namespace Zv::Testing
