// The log lines of one class: "%S.%S - …", class name first, method name second, with the client's log context.
#pragma once

#include "Logging/Logging.h"

#include <windows.h>

namespace Zv::Tessel::Server::Shared
{

// Copyable, owns nothing; the texts given must outlive it. Writes nothing when the logger is null.
class ClassLog
{
public:
    // className: see TypeName.h. logContext: the session's client id, may be null.
    ClassLog(Logging::TraceLogger* logger, const char* className, const wchar_t* logContext) noexcept
        : m_logger{logger},
          m_className{className},
          m_logContext{logContext}
    {
    }

    // The format starts with "%S.%S - "; the further arguments are those of its remaining conversions.
    template <class... Arguments>
    void Warning(const wchar_t* format, const char* method, Arguments... arguments) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogWarning(Logging::CreateLoggingData(format, m_logContext), m_className, method, arguments...);
        }
    }

    template <class... Arguments>
    void Error(const wchar_t* format, const char* method, Arguments... arguments) const
    {
        if (m_logger != nullptr)
        {
            m_logger->LogError(Logging::CreateLoggingData(format, m_logContext), m_className, method, arguments...);
        }
    }

    // A COM call gave a failing status; `call` names it.
    void CallFailed(const char* method, const wchar_t* call, HRESULT hr) const
    {
        Warning(L"%S.%S - failed on function %s with HRESULT 0x%x", method, call, static_cast<unsigned int>(hr));
    }

    // A Windows call failed; `error` is its GetLastError().
    void WindowsCallFailed(const char* method, const wchar_t* call, DWORD error) const
    {
        Error(L"%S.%S - Windows API %s error, GetLastError = %d", method, call, error);
    }

    // Something that must not be null is.
    void IsNull(const char* method, const char* name) const { Warning(L"%S.%S - %S cannot be null", method, name); }

private:
    Logging::TraceLogger* m_logger;
    const char* m_className;
    const wchar_t* m_logContext;
};

} // namespace Zv::Tessel::Server::Shared
