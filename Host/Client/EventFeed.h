// The firmware events that reach a session.
#pragma once

#include "Host/Client/PendingCommand.h"
#include "Host/Client/Session.h"

#include <memory>
#include <string>
#include <vector>

namespace Zv::Host
{

// Registers for events as long as it lives. The registration keeps a thread, on which the events arrive; what is asked
// for besides comes to the same registration, whichever call of them was the first.
class EventFeed
{
public:
    // No ids: every event. `onEvent` receives each event's JSON text; what it throws comes out of Failed(). The session
    // must outlive the feed.
    EventFeed(Session& session, const std::vector<int>& ids, const Session::Progress& onEvent);
    EventFeed(const EventFeed&) = delete;
    EventFeed& operator=(const EventFeed&) = delete;
    ~EventFeed() { Stop(); }

    // Set when one of the following may have changed.
    [[nodiscard]] HANDLE Changed() const noexcept { return m_changed.Event(); }

    // Whether every id is listened for.
    [[nodiscard]] bool IsListening() const;
    // Whether a registration has failed, or none is left.
    [[nodiscard]] bool HasEnded() const;

    // The answer of a registration that failed; null when none did. Throws what `onEvent` threw.
    [[nodiscard]] const Reply* Failed() const;

    // Unregisters. On return no event is under way and none will come.
    void Stop() noexcept;

private:
    [[nodiscard]] std::size_t Waiting() const noexcept;

    Session& m_session;
    const Signal m_changed;
    std::vector<std::unique_ptr<const PendingCommand>> m_commands;
};

} // namespace Zv::Host
