// What the tests' Logging.dll exports beside the interface of Logging/Logging.h.
#pragma once

#include <cstdint>

#if defined(FAKE_LOGGING_BUILDING_LIBRARY)
#define FAKE_LOGGING_API extern "C" __declspec(dllexport)
#else
#define FAKE_LOGGING_API extern "C" __declspec(dllimport)
#endif

namespace FakeLogging
{

enum class Level
{
    Info,
    Warning,
    Error
};

enum class Overload
{
    Text, // the plain text overload
    Data  // the LoggingData overload
};

// One call of a log function. The texts live until the listener returns.
struct Record
{
    Level level;
    Overload overload;
    const wchar_t* format;
    const wchar_t* context; // null for the text overload
    std::uint64_t reserved; // of LoggingData
    const wchar_t* text;    // the formatted line
};

// Called on the logging thread, several threads at a time.
using Listener = void (*)(void* state, const Record& record);

} // namespace FakeLogging

// Null stops listening. Waits until no thread is inside the former listener.
FAKE_LOGGING_API void FakeLoggingListen(FakeLogging::Listener listener, void* state);

// Forgets the provider, as in a process in which nobody has called SetProvider: GetLogger returns null.
FAKE_LOGGING_API void FakeLoggingForgetProvider();

// The name last given to SetProvider; empty when none was. Valid until the next SetProvider.
FAKE_LOGGING_API const wchar_t* FakeLoggingProvider();
