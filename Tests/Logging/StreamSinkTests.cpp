#include "Recorder.h"

#include "Platform/Windows/Handle.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <regex>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace Zv::Testing
{
namespace
{

using Logging::CreateLoggingData;
using Logging::Level;
using Logging::ScopedSink;
using Logging::Sinks;
using Shared = Zv::Tessel::Server::Shared::Handle;

constexpr std::chrono::seconds Watchdog{30};

// A file of this process that goes when the test ends.
class TemporaryFile
{
public:
    explicit TemporaryFile(const char* name)
        : m_path{std::filesystem::temp_directory_path() / (std::to_string(GetCurrentProcessId()) + name)}
    {
        std::filesystem::remove(m_path);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return m_path; }

    [[nodiscard]] std::string Content() const
    {
        std::ifstream stream{m_path, std::ios::binary};
        std::ostringstream content;
        content << stream.rdbuf();
        return content.str();
    }

    // The lines without their time, which is checked for its form.
    [[nodiscard]] std::vector<std::string> Lines() const
    {
        static const std::regex form{R"((\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.\d{3}Z )?(.*)\r)"};
        std::vector<std::string> lines;
        std::istringstream content{Content()};
        for (std::string line; std::getline(content, line);)
        {
            std::smatch match;
            lines.push_back(std::regex_match(line, match, form) ? match[2].str() : "not a line: " + line);
        }
        return lines;
    }

private:
    std::filesystem::path m_path;
};

TEST(LoggingStreams, AFileReceivesTimeLevelContextAndText)
{
    const TemporaryFile file{"-lines.log"};
    {
        const ScopedSink sink{Sinks::AddFile(Level::Info, file.Path().c_str())};
        ASSERT_TRUE(sink);
        Logger().LogInfo(L"plain %d", 1);
        Logger().LogWarning(CreateLoggingData(L"with context", L"client"));
        Logger().LogError(CreateLoggingData(L"gr\u00fc\u00dfe \U0001F600", nullptr));
    }
    EXPECT_EQ(file.Lines(), (std::vector<std::string>{"info plain 1", "warning [client] with context",
                                                      "error gr\xc3\xbc\xc3\x9f"
                                                      "e \xf0\x9f\x98\x80"}));
    EXPECT_TRUE(std::regex_search(file.Content(), std::regex{R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z info)"}));
}

TEST(LoggingStreams, AFileIsContinued)
{
    const TemporaryFile file{"-append.log"};
    for (int i = 0; i < 2; ++i)
    {
        const ScopedSink sink{Sinks::AddFile(Level::Warning, file.Path().c_str())};
        Logger().LogInfo(L"below");
        Logger().LogError(L"%d", i);
    }
    EXPECT_EQ(file.Lines(), (std::vector<std::string>{"error 0", "error 1"}));
}

TEST(LoggingStreams, AFileThatCannotBeOpenedSaysWhy)
{
    EXPECT_EQ(Sinks::AddFile(Level::Info, L"Z:\\no\\such\\folder\\x.log"), Logging::NoSink);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(Sinks::AddFile(Level::Info, nullptr), Logging::NoSink);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(Sinks::AddStream(Level::Info, nullptr), Logging::NoSink);
    EXPECT_EQ(Sinks::AddStream(Level::Info, INVALID_HANDLE_VALUE), Logging::NoSink);
}

TEST(LoggingStreams, PairsOfSurrogatesStayTogetherWhereverTheyFall)
{
    const TemporaryFile file{"-pairs.log"};
    constexpr int lines = 40;
    {
        const ScopedSink sink{Sinks::AddFile(Level::Info, file.Path().c_str())};
        for (int i = 0; i < lines; ++i)
        {
            std::wstring text(static_cast<std::size_t>(i % 2), L'x');
            for (int pair = 0; pair < 700; ++pair)
            {
                text += L"\U0001F600";
            }
            Logger().LogInfo(L"%s", text.c_str());
        }
    }
    EXPECT_EQ(file.Lines().size(), static_cast<std::size_t>(lines));
    EXPECT_EQ(file.Content().find("\xef\xbf\xbd"), std::string::npos); // the replacement character
}

// The two ends of a pipe that holds very little.
struct Pipe
{
    Pipe()
    {
        HANDLE readEnd = nullptr;
        HANDLE writeEnd = nullptr;
        if (CreatePipe(&readEnd, &writeEnd, nullptr, 4096) != FALSE)
        {
            reader = Shared{readEnd};
            writer = Shared{writeEnd};
        }
    }

    [[nodiscard]] std::string ReadAll() const
    {
        std::string all;
        char bytes[4096];
        DWORD count = 0;
        while (ReadFile(reader.Get(), bytes, sizeof bytes, &count, nullptr) != FALSE && count > 0)
        {
            all.append(bytes, count);
        }
        return all;
    }

    Shared reader;
    Shared writer;
};

TEST(LoggingStreams, AStuckStreamDelaysNobodyAndReportsWhatItLost)
{
    Pipe pipe;
    ASSERT_TRUE(pipe.writer);
    ScopedSink sink{Sinks::AddStream(Level::Info, pipe.writer.Get())};
    ASSERT_TRUE(sink);

    // Far more than the pipe and the ring hold, while nobody reads.
    constexpr int lines = 3000;
    auto logging = std::async(std::launch::async, [] {
        const std::wstring text(200, L'x');
        for (int i = 0; i < lines; ++i)
        {
            Logger().LogInfo(L"%d %s", i, text.c_str());
        }
    });
    const bool finished = logging.wait_for(Watchdog) == std::future_status::ready;

    auto reading = std::async(std::launch::async, [&] { return pipe.ReadAll(); });
    logging.wait();
    sink = ScopedSink{};
    pipe.writer.Reset();
    std::istringstream content{reading.get()};

    EXPECT_TRUE(finished);
    int received = 0;
    int lost = 0;
    static const std::regex loss{R"(\.\.\. (\d+) lines lost\r)"};
    static const std::regex entry{R"(\S+ info (\d+) x{200}\r)"};
    for (std::string line; std::getline(content, line);)
    {
        std::smatch match;
        if (std::regex_match(line, match, loss))
        {
            lost += std::stoi(match[1]);
        }
        else if (std::regex_match(line, match, entry))
        {
            EXPECT_EQ(std::stoi(match[1]), received + lost); // nothing out of order
            ++received;
        }
        else
        {
            ADD_FAILURE() << "not a line: " << line;
        }
    }
    EXPECT_GT(lost, 0);
    EXPECT_EQ(received + lost, lines);
}

TEST(LoggingStreams, LinesOfManyThreadsStayWhole)
{
    const TemporaryFile file{"-threads.log"};
    constexpr int threadCount = 4;
    constexpr int linesEach = 50;
    {
        const ScopedSink sink{Sinks::AddFile(Level::Info, file.Path().c_str())};
        Logging::TraceLogger& logger = Logger();
        std::vector<std::thread> threads;
        for (int t = 0; t < threadCount; ++t)
        {
            threads.emplace_back([&logger, t] {
                const std::wstring text(100, static_cast<wchar_t>(L'a' + t));
                for (int i = 0; i < linesEach; ++i)
                {
                    logger.LogInfo(L"%s", text.c_str());
                }
            });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }
    std::vector<int> seen(threadCount);
    for (const std::string& line : file.Lines())
    {
        ASSERT_EQ(line.size(), 105U) << line;
        ASSERT_EQ(line, "info " + std::string(100, line.back()));
        ++seen.at(static_cast<std::size_t>(line.back() - 'a'));
    }
    EXPECT_EQ(seen, std::vector<int>(threadCount, linesEach));
}

} // namespace
} // namespace Zv::Testing
