#include "Tests/Support/FaultPlan.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using Zv::Testing::Fault;
using Zv::Testing::FaultPlan;

TEST(FaultPlan, CallsAreCountedPerSite)
{
    FaultPlan plan;

    EXPECT_FALSE(plan.Enter("a"));
    EXPECT_FALSE(plan.Enter("a"));
    EXPECT_FALSE(plan.Enter("b"));

    EXPECT_EQ(plan.Calls("a"), 2);
    EXPECT_EQ(plan.Calls("b"), 1);
    EXPECT_EQ(plan.Calls("c"), 0);
    EXPECT_EQ(plan.Sites(), (std::map<std::string, int>{{"a", 2}, {"b", 1}}));
}

TEST(FaultPlan, JustTheNthCallFails)
{
    FaultPlan plan;
    plan.Fail("a", Fault::Nth(2, E_FAIL, ERROR_GEN_FAILURE));

    EXPECT_FALSE(plan.Enter("a"));
    const auto second = plan.Enter("a");
    ASSERT_TRUE(second);
    EXPECT_EQ(static_cast<HRESULT>(second->result), E_FAIL);
    EXPECT_EQ(second->lastError, static_cast<DWORD>(ERROR_GEN_FAILURE));
    EXPECT_FALSE(plan.Enter("a"));
}

TEST(FaultPlan, FromTheNthCallOnAllFail)
{
    FaultPlan plan;
    plan.Fail("a", Fault::From(2, 0));

    EXPECT_FALSE(plan.Enter("a"));
    EXPECT_TRUE(plan.Enter("a"));
    EXPECT_TRUE(plan.Enter("a"));
}

TEST(FaultPlan, AnActionRunsBeforeEachCallWithItsNumber)
{
    FaultPlan plan;
    std::vector<int> numbers;
    plan.Before("a", [&numbers](int call) { numbers.push_back(call); });

    EXPECT_FALSE(plan.Enter("a"));
    EXPECT_FALSE(plan.Enter("a"));

    EXPECT_EQ(numbers, (std::vector<int>{1, 2}));
}

TEST(FaultPlan, ClearForgetsFaultsAndCounts)
{
    FaultPlan plan;
    plan.Fail("a", Fault::Every(E_FAIL));
    EXPECT_TRUE(plan.Enter("a"));

    plan.Clear();

    EXPECT_FALSE(plan.Enter("a"));
    EXPECT_EQ(plan.Calls("a"), 1);
}

} // namespace
