// A register command on a thread of its own.
#pragma once

#include "Platform/Windows/Lock.h"
#include "Tests/Support/Module.h"

#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace Zv::Testing
{

// Runs the command until it returns, as the thread of a host does for a client, and keeps the events that come through
// the callback.
class RegisterCall
{
public:
    using OnEvent = std::function<void(const std::wstring&)>;

    // onEvent runs in the callback, after the event was noted; what it throws leaves the callback.
    RegisterCall(ZVService* service, void* session, std::wstring request, OnEvent onEvent = {});
    RegisterCall(const RegisterCall&) = delete;
    RegisterCall& operator=(const RegisterCall&) = delete;
    // Waits for the command to return.
    ~RegisterCall();

    // Waits for the command to return.
    const Reply& End();

    [[nodiscard]] std::vector<std::wstring> Events() const;
    void WaitForEvents(std::size_t count);

private:
    void Take(const wchar_t* text);

    OnEvent m_onEvent;
    mutable Tessel::Server::Shared::Lock m_lock;
    Tessel::Server::Shared::Condition m_changed;
    std::vector<std::wstring> m_events; // guarded by m_lock
    Reply m_reply;                      // written by the thread
    std::thread m_thread;
};

} // namespace Zv::Testing
