#include "Interception/Redirection.h"

#include <system_error>

namespace Zv::Interception
{

namespace
{

// Import tables usually lie in read-only pages. The protection belongs to the whole page, so that two threads that
// change slots of one page must take turns.
class WritablePage
{
public:
    explicit WritablePage(void** slot) noexcept : m_slot{slot}
    {
        AcquireSRWLockExclusive(&s_lock);
        m_writable = VirtualProtect(m_slot, sizeof *m_slot, PAGE_READWRITE, &m_before) != FALSE;
    }
    WritablePage(const WritablePage&) = delete;
    WritablePage& operator=(const WritablePage&) = delete;
    ~WritablePage()
    {
        if (m_writable)
        {
            DWORD ignored = 0;
            VirtualProtect(m_slot, sizeof *m_slot, m_before, &ignored);
        }
        ReleaseSRWLockExclusive(&s_lock);
    }

    [[nodiscard]] bool IsWritable() const noexcept { return m_writable; }

private:
    static inline SRWLOCK s_lock = SRWLOCK_INIT;
    void** m_slot;
    DWORD m_before = 0;
    bool m_writable = false;
};

// One aligned store: a thread that calls through the slot meanwhile sees the old or the new address.
[[nodiscard]] bool Store(void** slot, void* value) noexcept
{
    const WritablePage page{slot};
    if (page.IsWritable())
    {
        InterlockedExchangePointer(slot, value);
    }
    return page.IsWritable();
}

} // namespace

Redirection::Redirection(const std::vector<void**>& slots, void* replacement)
{
    m_entries.reserve(slots.size());
    for (void** slot : slots)
    {
        void* const original = *slot;
        if (!Store(slot, replacement))
        {
            const std::error_code error{static_cast<int>(GetLastError()), std::system_category()};
            Restore();
            throw std::system_error{error, "import table page"};
        }
        m_entries.push_back({slot, original});
    }
}

void Redirection::Restore() noexcept
{
    for (const Entry& entry : m_entries)
    {
        // The page could be made writable before; should that fail now, the slot keeps calling the replacement.
        static_cast<void>(Store(entry.slot, entry.original));
    }
    m_entries.clear();
}

} // namespace Zv::Interception
