#include "Shared/Contract/ProgressCallback.h"
#include "Tests/Support/CountingCallback.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using Zv::Tessel::Server::Services::ProgressCallback;
using Zv::Tessel::Server::Services::ProgressCallbackArgument;
using Zv::Testing::CallbackCounts;
using Zv::Testing::CountingCallback;

class CountingCallbacks : public ::testing::TestWithParam<CountingCallback::Place>
{
};

// As a call does with its argument.
void Destroy(ProgressCallbackArgument& argument)
{
    const Zv::Tessel::Server::Services::ProgressCallbackGuard guard{argument};
}

TEST_P(CountingCallbacks, AreCountedThroughTheHostHeadersClasses)
{
    CallbackCounts counts;
    CountingCallback callback{GetParam(), counts};
    auto& argument = *static_cast<ProgressCallbackArgument*>(callback.Address());
    wchar_t text[] = L"text";
    {
        const ProgressCallback copy{argument};
        EXPECT_EQ(counts.copies, 1);
        EXPECT_EQ(counts.Alive(), 2);
        copy(text);
    }
    EXPECT_EQ(counts.Alive(), 1);
    Destroy(argument);

    EXPECT_EQ(counts.Alive(), 0);
    EXPECT_EQ(counts.texts, std::vector<std::wstring>{L"text"});
    EXPECT_EQ(counts.wronglyFreed, 0);
    EXPECT_EQ(counts.usedAfterDeath, 0);
}

TEST_P(CountingCallbacks, NoticeBeingDestroyedTwice)
{
    CallbackCounts counts;
    CountingCallback callback{GetParam(), counts};
    std::array<std::byte, CountingCallback::Size> bytes;
    std::memcpy(bytes.data(), callback.Address(), bytes.size());
    Destroy(*static_cast<ProgressCallbackArgument*>(callback.Address()));
    std::memcpy(callback.Address(), bytes.data(), bytes.size());
    Destroy(*static_cast<ProgressCallbackArgument*>(callback.Address()));

    EXPECT_EQ(counts.Alive(), -1);
}

INSTANTIATE_TEST_SUITE_P(InRoomAndOnHeap, CountingCallbacks,
                         ::testing::Values(CountingCallback::Place::InRoom, CountingCallback::Place::OnHeap));

} // namespace
