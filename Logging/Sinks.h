// Where else log lines go: functions, files and streams that a host adds to the logging library. Modules that only log
// need Logging.h alone; a replacement of the library need not have what is declared here.
#pragma once

#include "Logging/Logging.h"

#include <cstddef>
#include <utility>

namespace Logging
{

// The higher, the worse.
enum class Level : int
{
    Info,
    Warning,
    Error,
};

// Which overload of the logger the line came through.
enum class Overload : int
{
    Text,
    Data, // LoggingData
};

// One line on its way to a sink. Everything that it points to lives until the sink's function returns.
struct LogLine
{
    Level level;            // as the logger's function says
    Overload overload;      // of that function
    const wchar_t* context; // of the LoggingData, which may have none; null for Overload::Text
    const wchar_t* format;  // as the caller gave it; may be null
    const wchar_t* text;    // formatted and zero-terminated
    std::size_t length;     // of text, in characters
    bool cut;               // the text was longer than a line holds: this is its beginning
};

// Called on the thread that logs, by several threads at the same time, with no lock held: a slow function delays only
// its own caller. What it logs itself reaches the other outputs but no sink. It must not throw.
using SinkFunction = void(const LogLine& line, void* user) noexcept;

// What Remove takes.
using SinkId = unsigned int;
inline constexpr SinkId NoSink = 0; // none could be added

// The process's list of sinks, of which there may be 16. Every operation may be called from any thread at any time,
// before a provider is set as well as after. `least` is the lowest level that the sink receives.
class Sinks
{
public:
    Sinks() = delete;

    // NoSink for a null function or when the list is full.
    [[nodiscard]] LOGGING_API static SinkId Add(Level least, SinkFunction* function, void* user) noexcept;

    // Writes lines to a file as UTF-8, behind what it holds, with time, level and context:
    //     2026-01-31T23:59:59.123Z warning [context] text
    // A thread of the sink does the writing, so that a slow disk delays nobody who logs. Lines that come faster than
    // they can be written are counted and reported in the file as lost. NoSink when the file cannot be opened
    // (GetLastError() tells why), memory is short or the list is full.
    [[nodiscard]] LOGGING_API static SinkId AddFile(Level least, const wchar_t* path) noexcept;

    // The same for an open stream, such as GetStdHandle(STD_ERROR_HANDLE). It stays the caller's and must be open
    // until the sink has been removed.
    [[nodiscard]] LOGGING_API static SinkId AddStream(Level least, void* handle) noexcept;

    // Takes the sink off the list. On return its function runs on no other thread and will not be called again; a file
    // or stream has received every line. The sink's own function may call this. A process that ends without removing
    // its file and stream sinks loses lines that are not written yet. NoSink and removed sinks are ignored.
    LOGGING_API static void Remove(SinkId sink) noexcept;
};

// Removes a sink at the end of its life.
class ScopedSink
{
public:
    ScopedSink() noexcept = default;
    // Owns the sink, which may be NoSink.
    explicit ScopedSink(SinkId sink) noexcept : m_sink{sink} {}
    ScopedSink(ScopedSink&& other) noexcept : m_sink{std::exchange(other.m_sink, NoSink)} {}
    ScopedSink& operator=(ScopedSink&& other) noexcept
    {
        if (this != &other)
        {
            Sinks::Remove(std::exchange(m_sink, std::exchange(other.m_sink, NoSink)));
        }
        return *this;
    }
    ScopedSink(const ScopedSink&) = delete;
    ScopedSink& operator=(const ScopedSink&) = delete;
    ~ScopedSink() { Sinks::Remove(m_sink); }

    // Whether there is a sink.
    [[nodiscard]] explicit operator bool() const noexcept { return m_sink != NoSink; }

private:
    SinkId m_sink = NoSink;
};

} // namespace Logging
