// Stands in for the platform functions that the logging library calls: tracing, the debugger, formatting.
#pragma once

#include "Interception/ImportTable.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Testing
{

// One at a time. While it lives the library's calls come here and are recorded, and the provider is one registered
// here.
class Platform
{
public:
    Platform();
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform();

    std::atomic<int> traceLevel = 0; // what a trace session takes: 0 nothing, 2 errors … 4 everything
    std::atomic<bool> debuggerPresent = false;
    std::atomic<ULONG> registerResult = ERROR_SUCCESS;
    std::atomic<int> formatted = 0; // texts formatted

    struct Event
    {
        int level;
        std::wstring text;
        GUID provider;
    };

    [[nodiscard]] std::vector<GUID> Registered() const;      // by the test, in order
    [[nodiscard]] std::vector<GUID> StillRegistered() const; // of those, not unregistered
    [[nodiscard]] std::vector<Event> Events() const;
    [[nodiscard]] std::vector<std::wstring> DebuggerLines() const;
    [[nodiscard]] int EventsWithoutRegistration() const;

private:
    struct Calls;

    mutable std::mutex m_mutex;
    std::vector<GUID> m_registered;
    std::size_t m_earlierRegistrations = 0;
    std::set<unsigned long long> m_open;
    std::vector<Event> m_events;
    std::vector<std::wstring> m_debuggerLines;
    int m_eventsWithoutRegistration = 0;
    std::vector<Interception::Redirection> m_redirections; // last: restored before the rest goes
};

} // namespace Zv::Testing
