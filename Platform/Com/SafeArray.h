// Owner of a SAFEARRAY.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <utility>

namespace Zv::Tessel::Server::Shared::WMI
{

class SafeArray
{
public:
    SafeArray() noexcept = default;
    explicit SafeArray(SAFEARRAY* array) noexcept : m_array{array} {}
    SafeArray(SafeArray&& other) noexcept : m_array{other.Detach()} {}
    SafeArray& operator=(SafeArray&& other) noexcept
    {
        std::swap(m_array, other.m_array);
        return *this;
    }
    SafeArray(const SafeArray&) = delete;
    SafeArray& operator=(const SafeArray&) = delete;
    ~SafeArray()
    {
        if (m_array != nullptr)
        {
            SafeArrayDestroy(m_array);
        }
    }

    [[nodiscard]] explicit operator bool() const noexcept { return m_array != nullptr; }
    [[nodiscard]] SAFEARRAY* Get() const noexcept { return m_array; }
    // Gives the array to the caller.
    [[nodiscard]] SAFEARRAY* Detach() noexcept { return std::exchange(m_array, nullptr); }

private:
    SAFEARRAY* m_array = nullptr;
};

} // namespace Zv::Tessel::Server::Shared::WMI
