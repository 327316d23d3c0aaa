// Why something failed, from what the module logged meanwhile.
#pragma once

#include "Logging/Sinks.h"

#include <mutex>
#include <optional>
#include <string>

namespace Zv::Host
{

// Of one of the module's clients it keeps the last failed call, or where none failed, the last error or that the
// firmware's bytes did not come: errors that follow a failed call tell what came of it. The module's other warnings are
// about the request, which result codes name well enough. Of the launcher, which logs for no client, it keeps the last
// warning or error.
class ProblemWatch
{
public:
    ProblemWatch(); // of the launcher
    explicit ProblemWatch(std::wstring clientId);
    ProblemWatch(const ProblemWatch&) = delete;
    ProblemWatch& operator=(const ProblemWatch&) = delete;
    ~ProblemWatch() = default;

    void Forget();

    // Without the name of the class and method that logged it or a full stop, and with a status code explained:
    // "IWbemServices->ExecQuery gave 0x80041010 (no such class)". Empty when nothing was logged.
    [[nodiscard]] std::string Problem() const;
    // The status code of the failed call; 0 when there is none.
    [[nodiscard]] unsigned int Status() const;

private:
    static void Keep(const Logging::LogLine& line, void* self) noexcept;
    void Keep(const Logging::LogLine& line);

    const std::optional<std::wstring> m_clientId; // nothing: the launcher's lines
    mutable std::mutex m_mutex;
    std::string m_text;         // guarded by m_mutex
    Logging::ScopedSink m_sink; // last: removed before the rest goes
};

// The form that Problem() gives a log line's text.
[[nodiscard]] std::string ProblemText(const std::string& logText);

} // namespace Zv::Host
