#include "Tests/Support/Ledgers.h"

#include <gtest/gtest.h>

#include <oleauto.h>

#include <thread>

namespace
{

using Zv::Testing::ComJoins;
using Zv::Testing::ComMemory;
using Zv::Testing::Ledger;
using Zv::Testing::Ledgers;

TEST(Ledger, HoldsWhatWasTakenAndNotGivenBack)
{
    Ledger ledger;
    const int first = 0;
    const int second = 0;
    ledger.Taken(&first, L"first");
    ledger.Taken(&second, L"second");
    ledger.Given(&first);

    EXPECT_EQ(ledger.Held(), std::vector<std::wstring>{L"second"});
}

TEST(Ledger, GivingBackSomethingFromBeforeIsNoMatter)
{
    Ledger ledger;
    const int thing = 0;
    ledger.Given(&thing);

    EXPECT_EQ(ledger.Count(), 0u);
}

TEST(Ledgers, NameEachKindOfThingThatIsLeft)
{
    Ledgers ledgers;
    EXPECT_EQ(ledgers.Outstanding(), L"");

    ledgers.heap.Taken(&ledgers, L"12 bytes");
    ledgers.comJoins.Joined();
    EXPECT_EQ(ledgers.Outstanding(), L"heap block: 12 bytes\njoins of COM not left: thread 1: 1\n");
}

TEST(ComJoins, ALeaveByAnotherThreadLeavesBothUneven)
{
    ComJoins joins;
    joins.Joined();
    std::thread{[&joins] {
        joins.Left();
        joins.Left();
        joins.Joined();
    }}.join();
    EXPECT_EQ(joins.Uneven(), L"thread 1: 1, thread 2: -1");

    joins.Joined();
    joins.Offset();
    EXPECT_EQ(joins.Uneven(), L"thread 1: 2, thread 2: -1") << "one join was left by nobody";
    EXPECT_EQ(joins.Take(), 2);
    EXPECT_EQ(joins.Uneven(), L"thread 2: -1");

    joins.Joined();
    joins.Offset();
    EXPECT_EQ(joins.Uneven(), L"");
}

TEST(Ledgers, CountAThreadUntilItHasEnded)
{
    Ledgers ledgers;
    const HANDLE thread = CreateEventW(nullptr, TRUE, FALSE, nullptr); // like a thread, signalled at its end
    ledgers.threads.Started(thread);
    EXPECT_EQ(ledgers.Outstanding(), L"running threads: 1\n");

    SetEvent(thread);
    CloseHandle(thread);
    EXPECT_EQ(ledgers.Outstanding(), L"");
}

TEST(ComMemory, CountsBstrsAndArraysWhoeverMakesThem)
{
    ComMemory::Watch();
    const long before = ComMemory::Blocks();

    const BSTR text = SysAllocString(L"text");
    EXPECT_EQ(ComMemory::Blocks(), before + 1);
    SysFreeString(text);
    EXPECT_EQ(ComMemory::Blocks(), before);

    SAFEARRAY* const array = SafeArrayCreateVector(VT_UI1, 0, 16);
    EXPECT_GT(ComMemory::Blocks(), before);
    SafeArrayDestroy(array);
    EXPECT_EQ(ComMemory::Blocks(), before);
}

} // namespace
