// What the logger writes to.
#pragma once

#include "Logging/EtwProvider.h"
#include "Logging/Logging.h"
#include "Logging/SinkTable.h"

#include <cstdarg>

namespace Logging
{

// Formats a line once and hands it to everybody who listens: sinks, trace sessions, the debugger. A line to which
// nobody listens costs three look-ups and no formatting. GetLastError() stays as it was.
class LogWriter
{
public:
    [[nodiscard]] static LogWriter& Instance() noexcept { return s_instance; }

    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;
    ~LogWriter() = default;

    void Write(Level level, Overload overload, const LoggingData& data, va_list arguments) noexcept;

    [[nodiscard]] EtwProvider& Provider() noexcept { return m_provider; }
    [[nodiscard]] SinkTable& SinkList() noexcept { return m_sinks; }

private:
    constexpr LogWriter() noexcept = default;

    static LogWriter s_instance;

    EtwProvider m_provider;
    SinkTable m_sinks;
};

} // namespace Logging
