// A command that blocks, on a thread of its own.
#pragma once

#include "Host/Client/Session.h"

#include "Platform/Windows/Signal.h"

#include <windows.h>

#include <atomic>
#include <exception>
#include <functional>
#include <string>
#include <thread>

namespace Zv::Host
{

using Tessel::Server::Shared::Signal;

// Starts the command at once. The session and the signal must outlive it.
class PendingCommand
{
public:
    // `ended` is set when the command has returned. Throws std::system_error when there is no thread for it.
    PendingCommand(Session& session, unsigned int function, std::wstring request, Session::Progress progress,
                   const Signal& ended);
    PendingCommand(const PendingCommand&) = delete;
    PendingCommand& operator=(const PendingCommand&) = delete;
    ~PendingCommand() { m_thread.join(); } // without a limit: end the command first

    [[nodiscard]] bool HasEnded() const noexcept { return m_ended; }
    // Of a command that has ended. Throws what `progress` threw.
    [[nodiscard]] const Reply& Result() const;

private:
    void Run(unsigned int function, std::wstring request, const Session::Progress& progress) noexcept;

    Session& m_session;
    const Signal& m_signal;
    Reply m_reply;               // written before m_ended is set
    std::exception_ptr m_thrown; // likewise
    std::atomic<bool> m_ended = false;
    std::thread m_thread; // last: works with all of the above
};

// Tells the session's registration to end, again and again until it has: one that is still being made can be told only
// once it waits. `changed` is set when `ended` may have become true.
void UnregisterUntil(Session& session, const Signal& changed, const std::function<bool()>& ended) noexcept;

// Executes a command that may be the blocking registration: it is told to end when `interrupted` is set.
[[nodiscard]] Reply ExecuteUntilInterrupted(Session& session, HANDLE interrupted, unsigned int function,
                                            std::wstring request, const Session::Progress& progress);

} // namespace Zv::Host
