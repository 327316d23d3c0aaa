// Bounds a test: whatever waits too long ends the process with a message instead of hanging the suite.
#pragma once

#include <windows.h>

#include <chrono>
#include <string>

namespace Zv::Testing
{

class Watchdog
{
public:
    static constexpr std::chrono::seconds Default{30};

    // Ends the process when this object still lives after `limit`. `what` is named in the message, for example the
    // test.
    explicit Watchdog(std::string what, std::chrono::milliseconds limit = Default);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

private:
    static DWORD WINAPI Watch(void* self);

    std::string m_what;
    DWORD m_limit;
    HANDLE m_done;
    HANDLE m_thread;
};

// The exit code of a process that a watchdog ended.
inline constexpr unsigned int WatchdogExitCode = 86;

} // namespace Zv::Testing
