#include "Tests/FakeLogging/FakeLogging.h"

#include "Logging/Logging.h"
#include "Platform/Windows/FormatText.h"
#include "Platform/Windows/Lock.h"

#include <array>
#include <cstdarg>
#include <cwchar>
#include <string>

namespace
{

using FakeLogging::Level;
using FakeLogging::Overload;
using Zv::Tessel::Server::Shared::FormatText;
using Zv::Tessel::Server::Shared::Lock;
using Zv::Tessel::Server::Shared::LockGuard;

Lock g_lock;
FakeLogging::Listener g_listener = nullptr; // guarded by g_lock
void* g_listenerState = nullptr;            // guarded by g_lock
std::wstring g_provider;                    // guarded by g_lock

// Calls the listener under the lock: a line is delivered whole before the next one, and never after its listener is
// gone.
void Deliver(const FakeLogging::Record& record)
{
    const LockGuard guard{g_lock};
    if (g_listener != nullptr)
    {
        g_listener(g_listenerState, record);
    }
}

void Write(Level level, Overload overload, const Logging::LoggingData& data, std::va_list arguments)
{
    static constexpr std::size_t LongestLine = 16384;
    std::wstring text(LongestLine, L'\0');
    const int length = FormatText(text.data(), text.size() - 1, data.message, arguments);
    text.resize(length >= 0 ? static_cast<std::size_t>(length) : std::wcslen(text.c_str()));
    Deliver({level, overload, data.message, data.context, data.reserved, text.c_str()});
}

} // namespace

void FakeLoggingListen(FakeLogging::Listener listener, void* state)
{
    const LockGuard guard{g_lock};
    g_listener = listener;
    g_listenerState = state;
}

void FakeLoggingForgetProvider()
{
    const LockGuard guard{g_lock};
    g_provider.clear();
}

const wchar_t* FakeLoggingProvider()
{
    const LockGuard guard{g_lock};
    return g_provider.c_str();
}

namespace Logging
{

LoggingData CreateLoggingData(const wchar_t* message, const wchar_t* context)
{
    return {message, context, 0};
}

void TraceLogger::LogInfo(const wchar_t* text, ...)
{
    std::va_list arguments;
    va_start(arguments, text);
    Write(Level::Info, Overload::Text, {text, nullptr, 0}, arguments);
    va_end(arguments);
}

void TraceLogger::LogInfo(LoggingData data, ...)
{
    std::va_list arguments;
    va_start(arguments, data);
    Write(Level::Info, Overload::Data, data, arguments);
    va_end(arguments);
}

void TraceLogger::LogWarning(const wchar_t* text, ...)
{
    std::va_list arguments;
    va_start(arguments, text);
    Write(Level::Warning, Overload::Text, {text, nullptr, 0}, arguments);
    va_end(arguments);
}

void TraceLogger::LogWarning(LoggingData data, ...)
{
    std::va_list arguments;
    va_start(arguments, data);
    Write(Level::Warning, Overload::Data, data, arguments);
    va_end(arguments);
}

void TraceLogger::LogError(const wchar_t* text, ...)
{
    std::va_list arguments;
    va_start(arguments, text);
    Write(Level::Error, Overload::Text, {text, nullptr, 0}, arguments);
    va_end(arguments);
}

void TraceLogger::LogError(LoggingData data, ...)
{
    std::va_list arguments;
    va_start(arguments, data);
    Write(Level::Error, Overload::Data, data, arguments);
    va_end(arguments);
}

bool LogManager::SetProvider(const wchar_t* name)
{
    if (name == nullptr || *name == L'\0')
    {
        return false;
    }
    const LockGuard guard{g_lock};
    g_provider = name;
    return true;
}

TraceLogger* LogManager::GetLogger()
{
    static TraceLogger logger;
    const LockGuard guard{g_lock};
    return g_provider.empty() ? nullptr : &logger;
}

} // namespace Logging
