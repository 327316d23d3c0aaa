#include "Logging/EtwProvider.h"

#include <array>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace Logging
{

namespace
{

using Zv::Tessel::Server::Shared::Lock;

// winmeta's levels, in the order of Level.
constexpr std::array<UCHAR, 3> EtwLevels = {4, 3, 2};
constexpr ULONGLONG NoKeyword = 0;

UCHAR EtwLevel(Level level) noexcept
{
    return EtwLevels[static_cast<std::size_t>(level)];
}

} // namespace

EtwProvider::~EtwProvider()
{
    // At the end of the process threads may have died with the lock held: no other thread comes here now, so it is not
    // taken.
    if (m_registration != 0)
    {
        EventUnregister(std::exchange(m_registration, 0));
    }
}

void EtwProvider::Use(const GUID& id) noexcept
{
    REGHANDLE previous = 0;
    {
        const std::lock_guard held{m_lock};
        if (m_registration != 0 && IsEqualGUID(id, m_id))
        {
            return;
        }
        REGHANDLE registration = 0;
        if (EventRegister(&id, nullptr, nullptr, &registration) != ERROR_SUCCESS)
        {
            registration = 0;
        }
        previous = std::exchange(m_registration, registration);
        m_id = id;
    }
    if (previous != 0)
    {
        EventUnregister(previous);
    }
}

bool EtwProvider::IsEnabled(Level level) noexcept
{
    const std::shared_lock<Lock> held{m_lock};
    return m_registration != 0 && EventProviderEnabled(m_registration, EtwLevel(level), NoKeyword) != FALSE;
}

void EtwProvider::Write(Level level, const wchar_t* text) noexcept
{
    const std::shared_lock<Lock> held{m_lock};
    if (m_registration != 0)
    {
        EventWriteString(m_registration, EtwLevel(level), NoKeyword, text);
    }
}

} // namespace Logging
