// What ends the program before it is done: Ctrl-C, the end of its console, and --timeout.
#pragma once

#include "Host/Text/Failure.h"

#include <windows.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace Zv::Host
{

// From the interruption on the program has a short time to come to its end in good order: whoever waits without a limit
// waits for Event() as well. A program that has not ended by then, because a call hangs, is ended. A second Ctrl-C ends
// it at once. It lives as long as there is something to interrupt.
//
// One may live inside another, for a part of what the program does. Ctrl-C then interrupts that part alone, and a
// second one nothing more; the end of the console interrupts all. They go in the opposite order.
class Interruption
{
public:
    using Report = std::function<void(const Failure&)>;

    // What Ctrl-C does to the innermost one.
    enum class CtrlC
    {
        Interrupts,
        DoesNothing
    };

    // `report` says on the console why the program is ended; it may be called on another thread.
    Interruption(std::optional<std::chrono::milliseconds> timeout, Report report, CtrlC ctrlC = CtrlC::Interrupts);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    // Signalled from the interruption on.
    [[nodiscard]] HANDLE Event() const noexcept;

    // Waits no longer than that; whether the program is interrupted.
    [[nodiscard]] bool Wait(std::chrono::milliseconds limit) const noexcept;
    [[nodiscard]] bool Happened() const noexcept { return Wait(std::chrono::milliseconds{0}); }
    [[nodiscard]] bool IsByUser() const noexcept;

    // What happened, when something did.
    [[nodiscard]] Failure Reason() const;
    // Throws it.
    void Check() const;

    // Ends the process as it stands, for when a thread hangs in the module: nothing may be taken down under it.
    [[noreturn]] void EndProcess(const Failure& failure) const noexcept;

private:
    struct State;

    static BOOL WINAPI OnControl(DWORD type) noexcept;
    void Watch() const noexcept;

    const std::optional<std::chrono::milliseconds> m_timeout;
    const Report m_report;
    const std::shared_ptr<State> m_state; // shared with the console's thread
    std::thread m_watch;                  // last: works with all of the above
};

} // namespace Zv::Host
