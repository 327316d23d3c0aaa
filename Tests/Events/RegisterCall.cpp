#include "Tests/Events/RegisterCall.h"

namespace Zv::Testing
{

using Tessel::Server::Shared::LockGuard;
using Tessel::Server::Shared::UniqueLock;

RegisterCall::RegisterCall(ZVService* service, void* session, std::wstring request, OnEvent onEvent)
    : m_onEvent{std::move(onEvent)},
      m_thread{[this, service, session, request = std::move(request)] {
          constexpr auto function = static_cast<unsigned int>(FunctionNumber::RegisterBiosEventNotification);
          m_reply = Run(service, session, function, request.c_str(), [this](wchar_t* text) { Take(text); });
      }}
{
}

RegisterCall::~RegisterCall()
{
    End();
}

const Reply& RegisterCall::End()
{
    if (m_thread.joinable())
    {
        m_thread.join();
    }
    return m_reply;
}

std::vector<std::wstring> RegisterCall::Events() const
{
    const LockGuard held{m_lock};
    return m_events;
}

void RegisterCall::WaitForEvents(std::size_t count)
{
    UniqueLock held{m_lock};
    m_changed.Wait(held, [&] { return m_events.size() >= count; });
}

void RegisterCall::Take(const wchar_t* text)
{
    {
        const LockGuard held{m_lock};
        m_events.emplace_back(text);
        m_changed.NotifyAll();
    }
    if (m_onEvent)
    {
        m_onEvent(text);
    }
}

} // namespace Zv::Testing
