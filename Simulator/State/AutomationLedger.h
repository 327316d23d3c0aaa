// Books of the BSTRs and SAFEARRAYs that a machine handed out.
#pragma once

#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <oleauto.h>

#include <atomic>
#include <cstddef>
#include <unordered_set>

namespace Zv::Simulator
{

// Whoever receives a BSTR or SAFEARRAY frees it with the platform's functions, which tell nobody. So the books are only
// kept while somebody watches these functions in the receiver's import table and reports what they free (see
// AutomationWatch); otherwise all counts are 0. Arrays count as one, whatever they hold. Safe on several threads.
class AutomationLedger
{
public:
    void Open() noexcept { m_open = true; }
    void Close();

    void HandedOut(const VARIANT& value);
    void HandedOutString(BSTR text);
    void HandedOutArray(const SAFEARRAY* array);

    // To be called before the memory is really freed: the address may be handed out again right after.
    // True when it was one of ours.
    bool FreedString(BSTR text) noexcept;
    bool FreedArray(const SAFEARRAY* array) noexcept;
    bool Cleared(const VARIANT& value) noexcept;

    [[nodiscard]] std::size_t Strings() const;
    [[nodiscard]] std::size_t Arrays() const;

private:
    std::atomic<bool> m_open = false;
    mutable Tessel::Server::Shared::Lock m_lock;
    std::unordered_set<const void*> m_strings; // guarded by m_lock
    std::unordered_set<const void*> m_arrays;  // guarded by m_lock
};

} // namespace Zv::Simulator
