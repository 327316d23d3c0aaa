#include "Logging/LogWriter.h"
#include "Logging/Logging.h"

#include <cstdarg>

namespace Logging
{

LoggingData CreateLoggingData(const wchar_t* message, const wchar_t* context)
{
    return {message, context, 0};
}

void TraceLogger::LogInfo(const wchar_t* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    LogWriter::Instance().Write(Level::Info, Overload::Text, {text, nullptr, 0}, arguments);
    va_end(arguments);
}

void TraceLogger::LogInfo(LoggingData data, ...)
{
    va_list arguments;
    va_start(arguments, data);
    LogWriter::Instance().Write(Level::Info, Overload::Data, data, arguments);
    va_end(arguments);
}

void TraceLogger::LogWarning(const wchar_t* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    LogWriter::Instance().Write(Level::Warning, Overload::Text, {text, nullptr, 0}, arguments);
    va_end(arguments);
}

void TraceLogger::LogWarning(LoggingData data, ...)
{
    va_list arguments;
    va_start(arguments, data);
    LogWriter::Instance().Write(Level::Warning, Overload::Data, data, arguments);
    va_end(arguments);
}

void TraceLogger::LogError(const wchar_t* text, ...)
{
    va_list arguments;
    va_start(arguments, text);
    LogWriter::Instance().Write(Level::Error, Overload::Text, {text, nullptr, 0}, arguments);
    va_end(arguments);
}

void TraceLogger::LogError(LoggingData data, ...)
{
    va_list arguments;
    va_start(arguments, data);
    LogWriter::Instance().Write(Level::Error, Overload::Data, data, arguments);
    va_end(arguments);
}

} // namespace Logging
