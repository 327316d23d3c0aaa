// Owner of one reference on a COM interface.
#pragma once

#include <cassert>
#include <utility>

namespace Zv::Tessel::Server::Shared::WMI
{

template <class T>
class ComPtr
{
public:
    ComPtr() noexcept = default;
    // Takes over the reference that the caller holds.
    explicit ComPtr(T* reference) noexcept : m_pointer{reference} {}
    ComPtr(ComPtr&& other) noexcept : m_pointer{other.Detach()} {}
    ComPtr& operator=(ComPtr&& other) noexcept
    {
        if (this != &other)
        {
            Reset();
            m_pointer = other.Detach();
        }
        return *this;
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Reset(); }

    [[nodiscard]] T* Get() const noexcept { return m_pointer; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_pointer != nullptr; }
    T* operator->() const noexcept { return m_pointer; }

    // For calls that store a reference through a pointer. The owner must be empty: a full one would leak.
    [[nodiscard]] T** Receive() noexcept
    {
        assert(m_pointer == nullptr);
        return &m_pointer;
    }
    [[nodiscard]] void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

    // Gives the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(m_pointer, nullptr); }

    void Reset() noexcept
    {
        if (T* const pointer = Detach())
        {
            pointer->Release();
        }
    }

private:
    T* m_pointer = nullptr;
};

} // namespace Zv::Tessel::Server::Shared::WMI
