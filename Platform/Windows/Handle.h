// Owner of a kernel handle.
#pragma once

#include <windows.h>

#include <utility>

namespace Zv::Tessel::Server::Shared
{

// Closes the handle unless it is null or INVALID_HANDLE_VALUE. Closing leaves GetLastError() as it was.
class Handle
{
public:
    Handle() noexcept = default;
    explicit Handle(HANDLE handle) noexcept : m_handle{handle} {}
    Handle(Handle&& other) noexcept : m_handle{std::exchange(other.m_handle, nullptr)} {}
    Handle& operator=(Handle&& other) noexcept
    {
        if (this != &other)
        {
            Reset();
            m_handle = std::exchange(other.m_handle, nullptr);
        }
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { Reset(); }

    [[nodiscard]] HANDLE Get() const noexcept { return m_handle; }
    [[nodiscard]] explicit operator bool() const noexcept
    {
        return m_handle != nullptr && m_handle != INVALID_HANDLE_VALUE;
    }

    void Reset() noexcept
    {
        if (*this)
        {
            const DWORD lastError = GetLastError();
            CloseHandle(m_handle);
            SetLastError(lastError);
        }
        m_handle = nullptr;
    }

private:
    HANDLE m_handle = nullptr;
};

} // namespace Zv::Tessel::Server::Shared
