// A sink that keeps what it gets.
#pragma once

#include "Logging/Sinks.h"

#include <mutex>
#include <string>
#include <vector>

namespace Zv::Testing
{

struct RecordedLine
{
    Logging::Level level{};
    Logging::Overload overload{};
    bool hasContext = false;
    std::wstring context;
    std::wstring format;
    std::wstring text;
    bool cut = false;
};

class Recorder
{
public:
    explicit Recorder(Logging::Level least = Logging::Level::Info) : m_sink{Logging::Sinks::Add(least, &Keep, this)} {}

    [[nodiscard]] bool IsAdded() const noexcept { return static_cast<bool>(m_sink); }

    [[nodiscard]] std::vector<RecordedLine> Lines() const
    {
        const std::lock_guard held{m_mutex};
        return m_lines;
    }

    // The text of the only line.
    [[nodiscard]] std::wstring Text() const
    {
        const std::vector<RecordedLine> lines = Lines();
        return lines.size() == 1 ? lines.front().text : L"(" + std::to_wstring(lines.size()) + L" lines)";
    }

private:
    static void Keep(const Logging::LogLine& line, void* user) noexcept
    {
        auto& self = *static_cast<Recorder*>(user);
        const std::lock_guard held{self.m_mutex};
        self.m_lines.push_back({line.level,
                                line.overload,
                                line.context != nullptr,
                                line.context != nullptr ? line.context : L"",
                                line.format != nullptr ? line.format : L"",
                                {line.text, line.length},
                                line.cut});
    }

    mutable std::mutex m_mutex;
    std::vector<RecordedLine> m_lines;
    Logging::ScopedSink m_sink; // last: removed before the rest goes
};

// The logger, with a provider set.
inline Logging::TraceLogger& Logger()
{
    Logging::LogManager::SetProvider(L"Zv-Tessel-LoggingTests");
    return *Logging::LogManager::GetLogger();
}

} // namespace Zv::Testing
