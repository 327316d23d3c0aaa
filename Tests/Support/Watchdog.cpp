#include "Tests/Support/Watchdog.h"

#include <cstdio>
#include <utility>

namespace Zv::Testing
{

Watchdog::Watchdog(std::string what, std::chrono::milliseconds limit)
    : m_what{std::move(what)},
      m_limit{static_cast<DWORD>(limit.count())},
      m_done{CreateEventW(nullptr, TRUE, FALSE, nullptr)},
      m_thread{CreateThread(nullptr, 0, &Watch, this, 0, nullptr)}
{
}

Watchdog::~Watchdog()
{
    SetEvent(m_done);
    WaitForSingleObject(m_thread, INFINITE);
    CloseHandle(m_thread);
    CloseHandle(m_done);
}

DWORD WINAPI Watchdog::Watch(void* self)
{
    const auto* const watchdog = static_cast<Watchdog*>(self);
    if (WaitForSingleObject(watchdog->m_done, watchdog->m_limit) == WAIT_TIMEOUT)
    {
        std::fprintf(stderr, "\nWatchdog: %s still runs after %lu ms; ending the process.\n", watchdog->m_what.c_str(),
                     watchdog->m_limit);
        std::fflush(stderr);
        std::fflush(stdout);
        TerminateProcess(GetCurrentProcess(), WatchdogExitCode);
    }
    return 0;
}

} // namespace Zv::Testing
