#include "Simulator/State/AutomationLedger.h"

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;

void AutomationLedger::Close()
{
    m_open = false;
    const LockGuard guard{m_lock};
    m_strings.clear();
    m_arrays.clear();
}

void AutomationLedger::HandedOut(const VARIANT& value)
{
    if (V_VT(&value) == VT_BSTR)
    {
        HandedOutString(V_BSTR(&value));
    }
    else if ((V_VT(&value) & VT_ARRAY) != 0)
    {
        HandedOutArray(V_ARRAY(&value));
    }
}

void AutomationLedger::HandedOutString(BSTR text)
{
    if (m_open && text != nullptr)
    {
        const LockGuard guard{m_lock};
        m_strings.insert(text);
    }
}

void AutomationLedger::HandedOutArray(const SAFEARRAY* array)
{
    if (m_open && array != nullptr)
    {
        const LockGuard guard{m_lock};
        m_arrays.insert(array);
    }
}

bool AutomationLedger::FreedString(BSTR text) noexcept
{
    const LockGuard guard{m_lock};
    return m_strings.erase(text) != 0;
}

bool AutomationLedger::FreedArray(const SAFEARRAY* array) noexcept
{
    const LockGuard guard{m_lock};
    return m_arrays.erase(array) != 0;
}

bool AutomationLedger::Cleared(const VARIANT& value) noexcept
{
    if (V_VT(&value) == VT_BSTR)
    {
        return FreedString(V_BSTR(&value));
    }
    return (V_VT(&value) & (VT_ARRAY | VT_BYREF)) == VT_ARRAY && FreedArray(V_ARRAY(&value));
}

std::size_t AutomationLedger::Strings() const
{
    const LockGuard guard{m_lock};
    return m_strings.size();
}

std::size_t AutomationLedger::Arrays() const
{
    const LockGuard guard{m_lock};
    return m_arrays.size();
}

} // namespace Zv::Simulator
