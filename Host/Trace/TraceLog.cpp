#include "Host/Trace/TraceLog.h"

#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"
#include "Host/Text/OutputFile.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <new>

namespace Zv::Host::Tracing
{

using Tessel::Server::Shared::Handle;
using Tessel::Server::Shared::LockGuard;

namespace
{

std::atomic<TraceLog*> g_current = nullptr;

HANDLE OpenFile(const std::string& name)
{
    if (name.empty())
    {
        return nullptr;
    }
    const HANDLE file = CreateFileW(ToUtf16(name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        throw Failure{ExitCode::InputOutput, "cannot write " + name + ": " + SystemErrorText(GetLastError())};
    }
    return file;
}

const char* NameOf(Logging::Level level) noexcept
{
    switch (level)
    {
    case Logging::Level::Info:
        return "info";
    case Logging::Level::Warning:
        return "warning";
    case Logging::Level::Error:
        break;
    }
    return "error";
}

std::string Text(const Fields& fields)
{
    std::string text;
    for (const auto& [name, value] : fields)
    {
        text += (text.empty() ? "" : ", ") + name + '=' + value;
    }
    return text;
}

std::string Json(const Fields& fields)
{
    JsonObject object;
    for (const auto& [name, value] : fields)
    {
        object.Add(name, value);
    }
    return object.Text();
}

std::string MillisecondsText(double milliseconds)
{
    char text[40];
    static_cast<void>(std::snprintf(text, sizeof text, "%.3f", milliseconds));
    return text;
}

std::string EndText(const std::string& result, const Fields& results, double milliseconds)
{
    return (result.empty() ? "" : " = " + result) + (results.empty() ? "" : ", " + Text(results)) + "  [" +
           MillisecondsText(milliseconds) + " ms]";
}

} // namespace

void TraceLog::Start(const TraceOptions& options, Console& console)
{
    // Never given back: see above. The process ends without the destructors of static objects.
    static std::unique_ptr<TraceLog> owner;
    owner.reset(new TraceLog{options, console}); // the constructor is not for others
    g_current = owner.get();
    owner->m_sink = Logging::ScopedSink{Logging::Sinks::Add(Logging::Level::Info, &Keep, owner.get())};
}

TraceLog* TraceLog::Current() noexcept
{
    return g_current.load(std::memory_order_acquire);
}

TraceLog::TraceLog(const TraceOptions& options, Console& console)
    : m_options{options},
      m_console{console},
      m_file{OpenFile(options.fileName)}
{
}

TraceLog::Thread& TraceLog::ThisThread()
{
    const int next = static_cast<int>(m_threads.size()) + 1;
    return m_threads.try_emplace(GetCurrentThreadId(), Thread{next, {}}).first->second;
}

void TraceLog::Begin(std::string call, Fields arguments)
{
    const LockGuard held{m_lock};
    if (m_finished)
    {
        return;
    }
    WritePending();
    Thread& thread = ThisThread();
    thread.calls.push_back({++m_calls, std::move(call), std::move(arguments)});
    m_pending = m_options.json ? nullptr : &thread;
}

void TraceLog::End(std::string result, Fields results, double milliseconds)
{
    const LockGuard held{m_lock};
    Thread& thread = ThisThread();
    if (m_finished || thread.calls.empty())
    {
        return;
    }
    const Call call = std::move(thread.calls.back());
    thread.calls.pop_back();
    const std::size_t depth = thread.calls.size();
    if (m_options.json)
    {
        WriteObject(thread, call, depth, &result, results, milliseconds);
    }
    else if (m_pending == &thread)
    {
        m_pending = nullptr;
        WriteLine(thread, depth, call.name + '(' + Text(call.arguments) + ')' + EndText(result, results, milliseconds));
    }
    else
    {
        WritePending();
        WriteLine(thread, depth, "... " + call.name + EndText(result, results, milliseconds));
    }
}

void TraceLog::Lost() noexcept
{
    const LockGuard held{m_lock};
    ++m_lost;
}

std::string TraceLog::Finish()
{
    m_sink = {};
    g_current = nullptr;
    const LockGuard held{m_lock};
    m_finished = true;
    WritePending();
    for (const auto& [id, thread] : m_threads)
    {
        for (std::size_t depth = 0; depth < thread.calls.size(); ++depth)
        {
            const Call& call = thread.calls[depth];
            m_options.json ? WriteObject(thread, call, depth, nullptr, {}, 0)
                           : WriteLine(thread, depth, "... " + call.name + " has not returned");
        }
    }
    if (m_writeError != 0)
    {
        return "the trace is not complete: cannot write " +
               (m_options.fileName.empty() ? "standard error" : m_options.fileName) + ": " +
               SystemErrorText(m_writeError);
    }
    return m_lost == 0 ? "" : "the trace lacks " + std::to_string(m_lost) + " lines, for which there was no memory";
}

void TraceLog::Keep(const Logging::LogLine& line, void* self) noexcept
{
    auto& log = *static_cast<TraceLog*>(self);
    try
    {
        log.Keep(line);
    }
    catch (const std::bad_alloc&)
    {
        log.Lost();
    }
}

void TraceLog::Keep(const Logging::LogLine& line)
{
    const std::string context = line.context != nullptr ? ToUtf8(m_secrets.Clean(line.context)) : "";
    const std::string text = ToUtf8(m_secrets.Clean({line.text, line.length}));
    const LockGuard held{m_lock};
    if (m_finished)
    {
        return;
    }
    WritePending();
    const Thread& thread = ThisThread();
    if (!m_options.json)
    {
        WriteLine(thread, thread.calls.size(),
                  std::string{"log "} + NameOf(line.level) + (context.empty() ? "" : " [" + context + ']') + ": " +
                      text);
        return;
    }
    Write(JsonObject{}
              .AddJson("n", std::to_string(++m_calls))
              .Add("thread", thread.number)
              .AddJson("depth", std::to_string(thread.calls.size()))
              .Add("log", NameOf(line.level))
              .Add("context", context)
              .Add("text", text)
              .Text());
}

void TraceLog::WritePending()
{
    if (const Thread* const thread = std::exchange(m_pending, nullptr); thread != nullptr)
    {
        const Call& call = thread->calls.back();
        WriteLine(*thread, thread->calls.size() - 1, call.name + '(' + Text(call.arguments) + ") ...");
    }
}

void TraceLog::WriteLine(const Thread& thread, std::size_t depth, const std::string& text)
{
    Write('[' + std::to_string(thread.number) + "] " + std::string(2 * depth, ' ') + text);
}

void TraceLog::WriteObject(const Thread& thread, const Call& call, std::size_t depth, const std::string* result,
                           const Fields& results, double milliseconds)
{
    JsonObject object;
    object.AddJson("n", std::to_string(call.number))
        .Add("thread", thread.number)
        .AddJson("depth", std::to_string(depth))
        .Add("call", call.name)
        .AddJson("arguments", Json(call.arguments));
    if (result == nullptr)
    {
        Write(object.AddJson("result", "null").Text()); // it has not returned
        return;
    }
    Write(object.Add("result", *result)
              .AddJson("results", Json(results))
              .AddJson("ms", MillisecondsText(milliseconds))
              .Text());
}

void TraceLog::Write(const std::string& line)
{
    if (!m_file)
    {
        m_console.WriteErrorLine(line);
    }
    else if (!WriteBytes(m_file.Get(), line + '\n') && m_writeError == 0)
    {
        m_writeError = GetLastError();
    }
}

} // namespace Zv::Host::Tracing
