#include "Logging/Logging.h"
#include "Tests/FakeLogging/FakeLogging.h"
#include "Tests/Support/Module.h"
#include "Tests/Support/Transcript.h"

#include <gtest/gtest.h>

namespace
{

using Logging::LoggingData;
using Logging::LogManager;
using Zv::Testing::Level;
using Zv::Testing::LogLine;
using Zv::Testing::Overload;
using Zv::Testing::Transcript;

class FakeLoggingLibrary : public ::testing::Test
{
protected:
    FakeLoggingLibrary() { LogManager::SetProvider(L"provider"); }
    ~FakeLoggingLibrary() override { FakeLoggingForgetProvider(); }

    Transcript transcript;
};

TEST_F(FakeLoggingLibrary, IsWhatTheModuleBindsTo)
{
    const Zv::Testing::Module module;
    const HMODULE fake = GetModuleHandleW((Zv::Testing::TestFolder() / L"Logging.dll").c_str());

    EXPECT_NE(fake, nullptr);
    EXPECT_EQ(GetModuleHandleW((Zv::Testing::ModuleFolder() / L"Logging.dll").c_str()), nullptr);
}

TEST_F(FakeLoggingLibrary, GivesNoLoggerBeforeAProviderIsSet)
{
    FakeLoggingForgetProvider();

    EXPECT_EQ(LogManager::GetLogger(), nullptr);
    EXPECT_FALSE(LogManager::SetProvider(nullptr));
    EXPECT_FALSE(LogManager::SetProvider(L""));
    EXPECT_EQ(LogManager::GetLogger(), nullptr);
    EXPECT_TRUE(LogManager::SetProvider(L"name"));
    EXPECT_NE(LogManager::GetLogger(), nullptr);
    EXPECT_STREQ(FakeLoggingProvider(), L"name");
}

TEST_F(FakeLoggingLibrary, RecordsLevelOverloadContextFormatAndText)
{
    Logging::TraceLogger* const logger = LogManager::GetLogger();
    logger->LogInfo(L"%s", L"plain");
    logger->LogWarning(Logging::CreateLoggingData(L"%S.%S - %s 0x%x", L"client"), "class", "method", L"wide",
                       0x80041010u);
    logger->LogError(LoggingData{L"%d", nullptr, 7}, -1);

    const std::vector<LogLine> expected = {
        {Level::Info, Overload::Text, std::nullopt, L"%s", L"plain", 0},
        {Level::Warning, Overload::Data, L"client", L"%S.%S - %s 0x%x", L"class.method - wide 0x80041010", 0},
        {Level::Error, Overload::Data, std::nullopt, L"%d", L"-1", 7},
    };
    EXPECT_EQ(transcript.Log(), expected);
}

TEST_F(FakeLoggingLibrary, LogLinesAndCallsStandInTheTranscriptInTheirOrder)
{
    transcript.Add(L"First() = 1");
    LogManager::GetLogger()->LogInfo(L"between");
    LogManager::GetLogger()->LogWarning(LoggingData{L"two", L"client", 0});
    transcript.Add(L"Last() = 2");

    EXPECT_EQ(transcript.All(),
              (std::vector<std::wstring>{L"First() = 1", L"Info between", L"Warning(client) two", L"Last() = 2"}));
    EXPECT_EQ(transcript.Calls(), (std::vector<std::wstring>{L"First() = 1", L"Last() = 2"}));
    EXPECT_EQ(transcript.Of({L"Last", L"Info"}), (std::vector<std::wstring>{L"Info between", L"Last() = 2"}));
}

} // namespace
