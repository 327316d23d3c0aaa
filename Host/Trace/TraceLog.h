// Where a trace is written: calls in the order in which they begin, indented by what they were made within.
#pragma once

#include "Host/Terminal/Console.h"
#include "Host/Trace/Secrets.h"
#include "Host/Trace/TraceOptions.h"
#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Lock.h"

#include "Logging/Sinks.h"

#include <windows.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Zv::Host::Tracing
{

// Names and what is shown of them.
using Fields = std::vector<std::pair<std::string, std::string>>;

// A call that ends at once is one line; one within which others are made, or during which another thread makes some,
// gets a line at its beginning and one at its end.
//
// One per process, and from Start on it is there until the process is gone: threads of the module may make calls when
// the subcommand is over. Safe on several threads. A line for which there is no memory is lost, and Finish says how
// many were.
class TraceLog
{
public:
    // Begins to trace. The console is used until Finish. Throws Failure(InputOutput) when the file cannot be made.
    static void Start(const TraceOptions& options, Console& console);
    // The trace, null while none is written.
    [[nodiscard]] static TraceLog* Current() noexcept;

    TraceLog(const TraceLog&) = delete;
    TraceLog& operator=(const TraceLog&) = delete;
    ~TraceLog() = default;

    [[nodiscard]] const TraceOptions& Options() const noexcept { return m_options; }
    [[nodiscard]] Secrets& GetSecrets() noexcept { return m_secrets; }
    [[nodiscard]] const Secrets& GetSecrets() const noexcept { return m_secrets; }

    // On the thread that makes the call; each Begin that did not throw has its End, the innermost first.
    void Begin(std::string call, Fields arguments);
    void End(std::string result, Fields results, double milliseconds);
    void Lost() noexcept;

    // Writes what has not ended, and traces nothing any more. Returns what went wrong meanwhile, empty for nothing.
    [[nodiscard]] std::string Finish();

private:
    struct Call
    {
        std::uint64_t number;
        std::string name;
        Fields arguments;
    };
    struct Thread
    {
        int number;
        std::vector<Call> calls; // the outermost first
    };

    TraceLog(const TraceOptions& options, Console& console);
    static void Keep(const Logging::LogLine& line, void* self) noexcept;

    // The caller of each of these holds the lock.
    [[nodiscard]] Thread& ThisThread();
    void Keep(const Logging::LogLine& line);
    void WritePending();
    void WriteLine(const Thread& thread, std::size_t depth, const std::string& text);
    void WriteObject(const Thread& thread, const Call& call, std::size_t depth, const std::string* result,
                     const Fields& results, double milliseconds);
    void Write(const std::string& line);

    const TraceOptions m_options;
    Console& m_console;
    const Tessel::Server::Shared::Handle m_file; // null: standard error
    Secrets m_secrets;

    Tessel::Server::Shared::Lock m_lock;
    // All guarded by m_lock.
    std::map<DWORD, Thread> m_threads;
    std::uint64_t m_calls = 0;
    Thread* m_pending = nullptr; // whose innermost call has begun and is not written yet; for people only
    std::size_t m_lost = 0;
    bool m_finished = false;
    DWORD m_writeError = 0;

    Logging::ScopedSink m_sink; // last: removed before the rest goes
};

} // namespace Zv::Host::Tracing
