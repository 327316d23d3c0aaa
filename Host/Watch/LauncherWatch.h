// Why the module's launcher failed, from what it logged.
#pragma once

#include "Logging/Sinks.h"

#include <mutex>
#include <string>

namespace Zv::Host
{

// Keeps the last warning or error that the module wrote as plain text, as its launcher does.
class LauncherWatch
{
public:
    LauncherWatch();
    LauncherWatch(const LauncherWatch&) = delete;
    LauncherWatch& operator=(const LauncherWatch&) = delete;
    ~LauncherWatch() = default;

    // Without the full stop at its end; empty when nothing was logged.
    [[nodiscard]] std::string Problem() const;

private:
    static void Keep(const Logging::LogLine& line, void* self) noexcept;

    mutable std::mutex m_mutex;
    std::wstring m_text;        // guarded by m_mutex
    Logging::ScopedSink m_sink; // last: removed before the rest goes
};

} // namespace Zv::Host
