// The registration with Event Tracing for Windows.
#pragma once

#include "Logging/Sinks.h"
#include "Platform/Windows/Lock.h"

#include <windows.h>

#include <evntprov.h>

namespace Logging
{

// Registers one provider at a time, which can be changed while other threads write. Never throws. Without a provider,
// or when the system refuses the registration, nothing is enabled and nothing is written.
class EtwProvider
{
public:
    constexpr EtwProvider() noexcept = default;
    EtwProvider(const EtwProvider&) = delete;
    EtwProvider& operator=(const EtwProvider&) = delete;
    ~EtwProvider();

    // Makes this the provider; the one before is unregistered once no thread writes through it.
    void Use(const GUID& id) noexcept;

    // Whether a trace session takes lines of this level.
    [[nodiscard]] bool IsEnabled(Level level) noexcept;

    void Write(Level level, const wchar_t* text) noexcept;

private:
    // Held exclusively to change the registration and shared to use it. Event calls do not wait for listeners.
    Zv::Tessel::Server::Shared::Lock m_lock;
    GUID m_id{};                  // guarded by m_lock; of m_registration
    REGHANDLE m_registration = 0; // guarded by m_lock; 0: none
};

} // namespace Logging
