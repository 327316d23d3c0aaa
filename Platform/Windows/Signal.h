// An event of the kernel's.
#pragma once

#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <system_error>

namespace Zv::Tessel::Server::Shared
{

// Threads set it and wait for it.
class Signal
{
public:
    enum class Reset
    {
        ByWait, // each time it is set one wait ends
        Never,
    };

    // Throws std::system_error.
    explicit Signal(Reset reset = Reset::ByWait)
        : m_event{CreateEventW(nullptr, reset == Reset::Never ? TRUE : FALSE, FALSE, nullptr)}
    {
        if (!m_event)
        {
            throw std::system_error{static_cast<int>(GetLastError()), std::system_category(), "CreateEvent"};
        }
    }

    void Set() const noexcept { SetEvent(m_event.Get()); }
    [[nodiscard]] HANDLE Event() const noexcept { return m_event.Get(); }
    // Whether it is set within that time.
    [[nodiscard]] bool Wait(DWORD milliseconds = INFINITE) const noexcept
    {
        return WaitForSingleObject(m_event.Get(), milliseconds) == WAIT_OBJECT_0;
    }

private:
    Handle m_event;
};

} // namespace Zv::Tessel::Server::Shared
