// The calling thread acting as another user.
#pragma once

#include "Logging/Logging.h"

#include <windows.h>

namespace Zv::Tessel::Server::Services
{

// The thread that makes it impersonates the token's user until it is destroyed, which must happen on that thread. True
// when the impersonation began; nothing is reverted otherwise. A failed reversion is logged and has no other effect.
class Impersonation
{
public:
    // logger may be null and must outlive the object.
    Impersonation(HANDLE token, Logging::TraceLogger* logger) noexcept
        : m_logger{logger},
          m_begun{ImpersonateLoggedOnUser(token) != FALSE}
    {
    }
    Impersonation(const Impersonation&) = delete;
    Impersonation& operator=(const Impersonation&) = delete;
    ~Impersonation()
    {
        if (m_begun && RevertToSelf() == FALSE && m_logger != nullptr)
        {
            m_logger->LogError(L"Problem while reverting the impersonation.");
        }
    }

    [[nodiscard]] explicit operator bool() const noexcept { return m_begun; }

private:
    Logging::TraceLogger* m_logger;
    bool m_begun;
};

} // namespace Zv::Tessel::Server::Services
