// A hold on COM's multithreaded apartment.
#pragma once

#include "Platform/Windows/ModuleLifetime.h"

#include <windows.h>

#include <combaseapi.h>

#include <utility>

namespace Zv::Tessel::Server::Shared::WMI
{

// Keeps the apartment, and with it the proxies that live in it, while none of its threads is left: COM takes it down
// with the last member otherwise. Takes and gives back on any thread.
class MtaUsage
{
public:
    MtaUsage() noexcept = default;
    MtaUsage(const MtaUsage&) = delete;
    MtaUsage& operator=(const MtaUsage&) = delete;
    ~MtaUsage() { Release(); }

    // Does nothing when there is a hold already. When COM refuses, there is none: the apartment then lasts as long as
    // its members.
    void Take() noexcept
    {
        if (m_cookie == nullptr && FAILED(CoIncrementMTAUsage(&m_cookie)))
        {
            m_cookie = nullptr;
        }
    }

    // While the process ends, COM must not be called any more.
    void Release() noexcept
    {
        const CO_MTA_USAGE_COOKIE cookie = std::exchange(m_cookie, nullptr);
        if (cookie != nullptr && !ProcessIsEnding())
        {
            static_cast<void>(CoDecrementMTAUsage(cookie));
        }
    }

private:
    CO_MTA_USAGE_COOKIE m_cookie = nullptr;
};

} // namespace Zv::Tessel::Server::Shared::WMI
