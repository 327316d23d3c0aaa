// The interface of the logging library. Hosts set the provider once; modules ask for the logger.
#pragma once

#include <cstdint>

#if defined(LOGGING_BUILDING_LIBRARY)
#define LOGGING_API __declspec(dllexport)
#else
#define LOGGING_API __declspec(dllimport)
#endif

namespace Logging
{

// One message with the context it belongs to. Passed by value; the texts must live until the call returns.
struct LoggingData
{
    const wchar_t* message; // printf-style format, Microsoft meaning: %s wide, %S narrow
    const wchar_t* context; // the caller's log context; may be null
    std::uint64_t reserved; // always 0
};

// The two together.
LOGGING_API LoggingData CreateLoggingData(const wchar_t* message, const wchar_t* context);

// Writes log lines. Made by the library only and never deleted by its users. Every operation may be called from any
// thread at any time, formats the way Microsoft's wide printf functions do, never throws and never waits for long; a
// line that is too long is cut.
class TraceLogger
{
public:
    TraceLogger(const TraceLogger&) = delete;
    TraceLogger& operator=(const TraceLogger&) = delete;

    // What goes well; what went wrong and was dealt with; what could not be done.
    LOGGING_API void LogInfo(const wchar_t* text, ...);
    LOGGING_API void LogInfo(LoggingData data, ...);
    LOGGING_API void LogWarning(const wchar_t* text, ...);
    LOGGING_API void LogWarning(LoggingData data, ...);
    LOGGING_API void LogError(const wchar_t* text, ...);
    LOGGING_API void LogError(LoggingData data, ...);

private:
    friend class LogManager;
    TraceLogger() = default;
    ~TraceLogger() = default;
};

// Where modules get the logger.
class LogManager
{
public:
    // Sets the provider's name. Returns false for a null or empty name.
    LOGGING_API static bool SetProvider(const wchar_t* name);

    // The logger, owned by the library; null until a provider is set.
    LOGGING_API static TraceLogger* GetLogger();
};

} // namespace Logging
