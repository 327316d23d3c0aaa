// The process's sinks.
#pragma once

#include "Logging/Sinks.h"
#include "Platform/Windows/Lock.h"

#include <array>
#include <atomic>

namespace Logging
{

// Keeps the list of sinks and hands lines to them. Never allocates and never calls a sink with its lock held.
class SinkTable
{
public:
    constexpr SinkTable() noexcept = default;
    SinkTable(const SinkTable&) = delete;
    SinkTable& operator=(const SinkTable&) = delete;
    ~SinkTable() = default;

    // Gives back what `user` points to once the sink has been removed and is called no more.
    using ReleaseFunction = void(void* user) noexcept;

    // `release` may be null.
    [[nodiscard]] SinkId Add(Level least, SinkFunction* function, void* user, ReleaseFunction* release) noexcept;

    void Remove(SinkId id) noexcept;

    // Whether some sink takes lines of this level. May be out of date by the time that it returns.
    [[nodiscard]] bool IsEnabled(Level level) const noexcept;

    void Write(const LogLine& line) noexcept;

private:
    struct Entry
    {
        SinkId id = NoSink; // NoSink: free
        Level least{};
        SinkFunction* function = nullptr;
        void* user = nullptr;
        ReleaseFunction* release = nullptr;
    };

    // A call into a sink that is under way. Lies on the stack of the thread that makes it.
    struct Call
    {
        SinkId sink = NoSink;
        unsigned long thread = 0;
        Call* next = nullptr;
    };

    static constexpr int NoLevel = static_cast<int>(Level::Error) + 1;

    void UpdateLeast() noexcept;                                       // m_lock held
    [[nodiscard]] bool IsLogging(unsigned long thread) const noexcept; // m_lock held
    [[nodiscard]] bool IsCalledByOthers(SinkId id) const noexcept;     // m_lock held
    void End(Call& call) noexcept;

    Zv::Tessel::Server::Shared::Lock m_lock;
    Zv::Tessel::Server::Shared::Condition m_callEnded; // with m_lock: a call has left m_calls
    std::array<Entry, 16> m_entries{};                 // guarded by m_lock
    Call* m_calls = nullptr;                           // guarded by m_lock
    SinkId m_lastId = NoSink;                          // guarded by m_lock
    std::atomic<int> m_least = NoLevel;                // lowest level that a sink takes; written with m_lock held
};

} // namespace Logging
