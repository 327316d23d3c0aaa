#include "Host/Client/EventFeed.h"

#include "Host/Text/Json.h"
#include "Platform/Windows/Utf8.h"

#include <algorithm>

namespace Zv::Host
{

using Zv::Tessel::Server::Services::FunctionNumber;

namespace
{

// How long a registration that logged a failed call may take to give up.
constexpr DWORD TimeToFail = 1000;

} // namespace

EventFeed::EventFeed(Session& session, const std::vector<int>& ids, const Session::Progress& onEvent)
    : m_session{session}
{
    std::vector<int> wanted = ids.empty() ? std::vector{0} : ids;
    // The first that comes waits, all others join it and return. So one more than there are ids says, by returning,
    // that the registration is made.
    wanted.push_back(wanted.front());
    try
    {
        for (const int id : wanted)
        {
            m_commands.push_back(std::make_unique<const PendingCommand>(
                session, static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification),
                ToUtf16(JsonObject{}.Add("filterEvent", id).Text()), onEvent, m_changed));
        }
    }
    catch (...)
    {
        Stop();
        throw;
    }
}

bool EventFeed::IsListening() const
{
    if (Waiting() != 1 || HasEnded())
    {
        return false;
    }
    // A call can join a registration that is about to give up.
    const bool doubtful = std::ranges::any_of(
        m_commands, [](const auto& command) { return command->HasEnded() && !command->Result().problem.empty(); });
    if (doubtful && WaitForSingleObject(m_changed.Event(), TimeToFail) == WAIT_OBJECT_0)
    {
        m_changed.Set(); // for whoever waits for a change
        return false;
    }
    return true;
}

bool EventFeed::HasEnded() const
{
    return Waiting() == 0 || Failed() != nullptr;
}

const Reply* EventFeed::Failed() const
{
    for (const auto& command : m_commands)
    {
        if (command->HasEnded() && command->Result().code != 0)
        {
            return &command->Result();
        }
    }
    return nullptr;
}

void EventFeed::Stop() noexcept
{
    UnregisterUntil(m_session, m_changed, [this] { return Waiting() == 0; });
}

std::size_t EventFeed::Waiting() const noexcept
{
    return static_cast<std::size_t>(
        std::ranges::count_if(m_commands, [](const auto& command) { return !command->HasEnded(); }));
}

} // namespace Zv::Host
