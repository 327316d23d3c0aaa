// Why a command failed, from what the module logged meanwhile.
#pragma once

#include "Logging/Sinks.h"

#include <mutex>
#include <string>

namespace Zv::Host
{

// Keeps the last failed call that the module logged for one of its clients, or where none failed, the last error or
// that the firmware's bytes did not come: errors that follow a failed call tell what came of it. The module's other
// warnings are about the request, which result codes name well enough.
class ProblemWatch
{
public:
    explicit ProblemWatch(std::wstring clientId);
    ProblemWatch(const ProblemWatch&) = delete;
    ProblemWatch& operator=(const ProblemWatch&) = delete;
    ~ProblemWatch() = default;

    void Forget();

    // Without the name of the class and method that logged it, and with a status code explained:
    // "IWbemServices->ExecQuery gave 0x80041010 (no such class)". Empty when nothing was logged.
    [[nodiscard]] std::string Problem() const;
    // The status code of the failed call; 0 when there is none.
    [[nodiscard]] unsigned int Status() const;

private:
    static void Keep(const Logging::LogLine& line, void* self) noexcept;

    const std::wstring m_clientId;
    mutable std::mutex m_mutex;
    std::wstring m_text;        // guarded by m_mutex
    bool m_isCall = false;      // guarded by m_mutex; m_text is about a failed call
    Logging::ScopedSink m_sink; // last: removed before the rest goes
};

// The form that Problem() gives a log line's text.
[[nodiscard]] std::string ProblemText(const std::string& logText);
// The status code in it, 0 when there is none.
[[nodiscard]] unsigned int ProblemStatus(const std::string& logText);

} // namespace Zv::Host
