#include "Platform.h"
#include "Recorder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Logging::LogManager;

std::string Text(const GUID& id)
{
    char text[40];
    std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", id.Data1, id.Data2, id.Data3,
                  id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5], id.Data4[6],
                  id.Data4[7]);
    return text;
}

std::string IdOf(const wchar_t* name)
{
    const Platform platform;
    LogManager::SetProvider(L"Zv-Tessel-SomeOtherProvider");
    LogManager::SetProvider(name);
    const std::vector<GUID> ids = platform.Registered();
    return ids.empty() ? "" : Text(ids.back());
}

// Microsoft documents this pair of name and id as the example of the algorithm.
TEST(LoggingProvider, IdIsTheOneThatEventToolsDeriveFromTheName)
{
    EXPECT_EQ(IdOf(L"MyProvider"), "b3864c38-4273-58c5-545b-8b3608343471");
}

// The id of the .NET performance laboratory's event source, which is published.
TEST(LoggingProvider, IdOfALongerNameIsRightToo)
{
    EXPECT_EQ(IdOf(L"PerfLabGenericEventSource"), "9bb228bd-1033-5cf0-1a56-c2dbbe0ebc86");
}

// Computed with another implementation of the algorithm: the hashed bytes end just before, at and after the edges of
// SHA-1's blocks.
TEST(LoggingProvider, IdIsRightAtTheEdgesOfTheHashsBlocks)
{
    EXPECT_EQ(IdOf(L"Z"), "7779008e-10ca-5ac4-19fc-2bdd00cec8cf");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghi"), "1751498f-9d0f-5f37-6c76-c993039394da");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghij"), "03c08587-de45-5996-5792-7c97d22f13ce");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklm"), "d04a9c91-0525-52fa-35c4-bb1e37d56884");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmn"), "8db6dbad-f53b-5212-39aa-a4386d89314a");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmno"), "5e93872f-5294-5f54-0c7d-84194def65f3");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmnopqrstuvwxyzabcdefghijklmno"), "1e1c067b-9f8c-503d-46f4-7511301f6a43");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmnopqrstuvwxyzabcdefghijklmnop"), "273bc4f7-0238-541a-774d-4dba9781c333");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrs"), "145a03f9-4813-518b-c035-f800451ee28c");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrst"),
              "b0b21be7-8883-5061-34e6-18fab17b4af6");
    EXPECT_EQ(IdOf(L"Zv-Tessel-abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstu"),
              "5391ba35-f98f-5880-3080-202d8f90d678");
}

TEST(LoggingProvider, LettersBeyondAsciiCountAsUpperCaseToo)
{
    EXPECT_EQ(IdOf(L"\u00fcber-\u03b1\u044f"), IdOf(L"\u00dcBER-\u0391\u042f"));
    EXPECT_EQ(IdOf(L"\u00fcber-\u03b1\u044f"), "3bc75675-c9c1-5b21-1ebb-fdc8c565e5fb");
}

TEST(LoggingProvider, TheSameNameInAnyCaseIsRegisteredOnce)
{
    const Platform platform;
    EXPECT_TRUE(LogManager::SetProvider(L"Zv-Tessel-Once"));
    EXPECT_TRUE(LogManager::SetProvider(L"Zv-Tessel-Once"));
    EXPECT_TRUE(LogManager::SetProvider(L"ZV-TESSEL-ONCE"));

    EXPECT_EQ(platform.Registered().size(), 1U);
}

TEST(LoggingProvider, AnotherNameTakesThePlaceOfTheOneBefore)
{
    Platform platform;
    platform.traceLevel = 4;
    LogManager::SetProvider(L"Zv-Tessel-First");
    Logging::TraceLogger* const before = LogManager::GetLogger();
    before->LogError(L"one");
    LogManager::SetProvider(L"Zv-Tessel-Second");
    LogManager::GetLogger()->LogError(L"two");

    EXPECT_EQ(LogManager::GetLogger(), before);
    const auto events = platform.Events();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_NE(Text(events[0].provider), Text(events[1].provider));
    ASSERT_EQ(platform.StillRegistered().size(), 1U);
    EXPECT_EQ(Text(platform.StillRegistered().front()), Text(events[1].provider));
}

TEST(LoggingProvider, ARefusedRegistrationLeavesTheOtherOutputs)
{
    Platform platform;
    platform.registerResult = ERROR_NOT_ENOUGH_MEMORY;
    platform.traceLevel = 4;
    EXPECT_TRUE(LogManager::SetProvider(L"Zv-Tessel-Refused"));
    const Recorder recorder;
    LogManager::GetLogger()->LogError(L"still here");

    EXPECT_EQ(recorder.Text(), L"still here");
    EXPECT_TRUE(platform.Events().empty());

    platform.registerResult = ERROR_SUCCESS;
    EXPECT_TRUE(LogManager::SetProvider(L"Zv-Tessel-Refused"));
    LogManager::GetLogger()->LogError(L"traced now");
    EXPECT_EQ(platform.Events().size(), 1U);
}

TEST(LoggingProvider, IsSetByManyThreadsWhileOthersLog)
{
    Platform platform;
    platform.traceLevel = 4;
    LogManager::SetProvider(L"Zv-Tessel-Race0");
    constexpr std::array<const wchar_t*, 3> names = {L"Zv-Tessel-Race0", L"Zv-Tessel-Race1", L"Zv-Tessel-Race2"};
    constexpr int rounds = 300;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        threads.emplace_back([&, i] {
            for (int round = 0; round < rounds; ++round)
            {
                LogManager::SetProvider(names[(i + static_cast<std::size_t>(round)) % names.size()]);
            }
        });
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round)
            {
                LogManager::GetLogger()->LogError(L"line %d", round);
            }
        });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(platform.EventsWithoutRegistration(), 0);
    EXPECT_EQ(platform.Events().size(), names.size() * rounds);
    EXPECT_EQ(platform.StillRegistered().size(), 1U);
}

} // namespace
} // namespace Zv::Testing
