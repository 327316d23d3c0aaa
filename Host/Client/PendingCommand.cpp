#include "Host/Client/PendingCommand.h"

#include <new>
#include <utility>

namespace Zv::Host
{

using Zv::Tessel::Server::Services::FunctionNumber;

namespace
{

constexpr DWORD RetryTime = 50;

} // namespace

PendingCommand::PendingCommand(Session& session, unsigned int function, std::wstring request,
                               Session::Progress progress, const Signal& ended)
    : m_session{session},
      m_signal{ended},
      m_thread{[this, function, request = std::move(request), progress = std::move(progress)]() mutable {
          Run(function, std::move(request), progress);
      }}
{
}

const Reply& PendingCommand::Result() const
{
    if (m_thrown)
    {
        std::rethrow_exception(m_thrown);
    }
    return m_reply;
}

void PendingCommand::Run(unsigned int function, std::wstring request, const Session::Progress& progress) noexcept
{
    try
    {
        m_reply = m_session.Execute(function, std::move(request), progress);
    }
    catch (...)
    {
        m_thrown = std::current_exception();
    }
    m_ended = true;
    m_signal.Set();
}

void UnregisterUntil(Session& session, const Signal& changed, const std::function<bool()>& ended) noexcept
{
    while (!ended())
    {
        try
        {
            static_cast<void>(
                session.Execute(FunctionNumber::UnregisterBiosWmiEventNotification, R"({"filterEvent":0})"));
        }
        catch (const std::bad_alloc&)
        {
            OutputDebugStringW(L"wmihost has no memory to unregister; it tries again.\n");
        }
        static_cast<void>(WaitForSingleObject(changed.Event(), RetryTime));
    }
}

Reply ExecuteUntilInterrupted(Session& session, HANDLE interrupted, unsigned int function, std::wstring request,
                              const Session::Progress& progress)
{
    const Signal ended;
    const auto relay = [&](std::string_view text) {
        try
        {
            progress(text);
        }
        catch (...)
        {
            ended.Set(); // nobody can be told of what comes
            throw;
        }
    };
    const PendingCommand command{session, function, std::move(request), relay, ended};
    const HANDLE waited[] = {ended.Event(), interrupted};
    static_cast<void>(WaitForMultipleObjects(2, waited, FALSE, INFINITE));
    UnregisterUntil(session, ended, [&] { return command.HasEnded(); });
    return command.Result();
}

} // namespace Zv::Host
