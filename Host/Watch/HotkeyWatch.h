// What becomes of the module's hotkeys, from what it logs.
#pragma once

#include "Host/Watch/ProblemWatch.h"

#include "Logging/Sinks.h"
#include "Services/WMI/Hotkeys/CompanionApp.h"

#include <array>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Host
{

using Tessel::Server::Services::WMI::CompanionApp;

// A companion app that hotkeys start.
struct HotkeyApp
{
    const char* name;
    const CompanionApp& constants;

    // "20", "3, 131074, 131073, 21"
    [[nodiscard]] std::string EventIds() const;
    [[nodiscard]] std::string BoardIds() const;
    [[nodiscard]] bool ListensFor(int id) const noexcept;
    // Whether the module arms the app on that board, of which nothing is known when it cannot be read; and why.
    [[nodiscard]] bool SupportsBoard(const std::optional<std::string>& board) const;
    [[nodiscard]] std::string WhyByBoard(const std::optional<std::string>& board) const;
};

inline constexpr std::size_t HotkeyAppCount = 2;
[[nodiscard]] const std::array<HotkeyApp, HotkeyAppCount>& HotkeyApps() noexcept;

// Watches from before the module's start-up task on. Apps are told by their place in HotkeyApps().
class HotkeyWatch
{
public:
    HotkeyWatch();
    HotkeyWatch(const HotkeyWatch&) = delete;
    HotkeyWatch& operator=(const HotkeyWatch&) = delete;
    ~HotkeyWatch() = default;

    struct App
    {
        bool isRunning = false;    // passed the platform check: listeners were set up
        bool notSupported = false; // did not pass it
        std::size_t stopped = 0;   // listeners that have given up
    };
    [[nodiscard]] App Of(std::size_t app) const;
    // Why its listeners gave up, in plain words; empty when nothing was logged of it.
    [[nodiscard]] std::string WhyStopped(std::size_t app) const;

    // Listeners of running apps that have not given up.
    [[nodiscard]] std::size_t Listeners() const;

    // The warnings and errors about launches since the last call, in one line; empty when there are none.
    [[nodiscard]] std::string TakeProblems();

private:
    static void Keep(const Logging::LogLine& line, void* self) noexcept;
    void Keep(Logging::Level level, std::wstring_view text);

    mutable std::mutex m_mutex;
    std::array<App, HotkeyAppCount> m_apps{};               // guarded by m_mutex
    std::vector<std::string> m_problems;                    // guarded by m_mutex
    std::array<ProblemWatch, HotkeyAppCount> m_subscribing; // of the listeners' sessions
    Logging::ScopedSink m_sink;                             // last: removed before the rest goes
};

} // namespace Zv::Host
