#include "Logging/LogWriter.h"

#include "Logging/LineBuffer.h"

#include <windows.h>

namespace Logging
{

constinit LogWriter LogWriter::s_instance;

namespace
{

class LastErrorKeeper
{
public:
    LastErrorKeeper() noexcept : m_error{GetLastError()} {}
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;
    ~LastErrorKeeper() { SetLastError(m_error); }

private:
    const DWORD m_error;
};

} // namespace

void LogWriter::Write(Level level, Overload overload, const LoggingData& data, va_list arguments) noexcept
{
    const LastErrorKeeper keepLastError;
    const bool sinks = m_sinks.IsEnabled(level);
    const bool trace = m_provider.IsEnabled(level);
    const bool debugger = IsDebuggerPresent() != FALSE;
    if (!sinks && !trace && !debugger)
    {
        return;
    }

    LineBuffer line{level, data.context};
    line.Format(data.message, arguments);
    if (sinks)
    {
        m_sinks.Write({level, overload, data.context, data.message, line.Text(), line.TextLength(), line.IsCut()});
    }
    if (trace)
    {
        m_provider.Write(level, line.TextWithContext());
    }
    if (debugger)
    {
        OutputDebugStringW(line.Finish());
    }
}

} // namespace Logging
