// The module's log lines on standard error.
#pragma once

#include "Host/Terminal/Console.h"

#include "Logging/Sinks.h"

namespace Zv::Host
{

// While it lives, lines of the level and above are written as they come: "warning [wmihost] class … - text".
class LogOutput
{
public:
    LogOutput(Logging::Level least, Console& console) noexcept;
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;
    ~LogOutput() = default;

private:
    static void Write(const Logging::LogLine& line, void* console) noexcept;

    Logging::ScopedSink m_sink;
};

} // namespace Zv::Host
