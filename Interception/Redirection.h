// A redirected entry of an import table, put back when the owner goes.
#pragma once

#include <windows.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace Zv::Interception
{

// While it lives, calls through the given import slots go to the replacement. Several redirections of one slot nest:
// destroy them in the opposite order. A call that is already inside the replacement is not waited for, and a function
// of the module that is running may have read its slots before: compilers take them for constant.
class Redirection
{
public:
    Redirection() noexcept = default;
    // Throws std::system_error when the page of a slot cannot be made writable.
    Redirection(const std::vector<void**>& slots, void* replacement);
    Redirection(Redirection&& other) noexcept : m_entries{std::exchange(other.m_entries, {})} {}
    Redirection& operator=(Redirection&& other) noexcept
    {
        if (this != &other)
        {
            Restore();
            m_entries = std::exchange(other.m_entries, {});
        }
        return *this;
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;
    ~Redirection() { Restore(); }

    // What the first slot held before, to pass a call on: Original<decltype(&SetEvent)>().
    template <class Function>
    [[nodiscard]] Function Original() const noexcept
    {
        static_assert(std::is_pointer_v<Function>);
        return m_entries.empty() ? nullptr : reinterpret_cast<Function>(m_entries.front().original);
    }

    // What the destructor does; nothing the second time.
    void Restore() noexcept;
    // Leaves the slots as they are for good.
    void Keep() noexcept { m_entries.clear(); }

private:
    struct Entry
    {
        void** slot;
        void* original;
    };
    std::vector<Entry> m_entries;
};

} // namespace Zv::Interception
