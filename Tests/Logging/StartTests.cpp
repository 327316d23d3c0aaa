// A program of its own: nothing takes a provider back once one has been set.
#include "Logging/Logging.h"
#include "Recorder.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{
namespace
{

using Logging::LogManager;

TEST(LoggingStart, ThereIsNoLoggerUntilAProviderIsSet)
{
    const Recorder recorder; // a sink may come first
    EXPECT_TRUE(recorder.IsAdded());

    EXPECT_EQ(LogManager::GetLogger(), nullptr);
    EXPECT_FALSE(LogManager::SetProvider(nullptr));
    EXPECT_FALSE(LogManager::SetProvider(L""));
    EXPECT_EQ(LogManager::GetLogger(), nullptr);

    EXPECT_TRUE(LogManager::SetProvider(L"Zv-Tessel-LoggingTests"));
    ASSERT_NE(LogManager::GetLogger(), nullptr);
    LogManager::GetLogger()->LogInfo(L"first");
    EXPECT_EQ(recorder.Text(), L"first");
}

} // namespace
} // namespace Zv::Testing
