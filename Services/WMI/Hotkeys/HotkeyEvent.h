// A firmware event as a hotkey's callback gets it.
#pragma once

#include "Services/WMI/Hotkeys/IHotKeyAppLauncherAbstractFactory.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Zv::Tessel::Server::Services::WMI
{

// Both are absent when the text does not hold them as numbers.
struct HotkeyEvent
{
    std::optional<std::int32_t> id;
    std::optional<std::int32_t> data;
};

// Text that is no JSON object has neither. Throws std::bad_alloc.
[[nodiscard]] HotkeyEvent ReadHotkeyEvent(const wchar_t* eventText);

// Logged by the callbacks of both apps, in these words, for an event without text.
inline constexpr const wchar_t* NoEventText = L"Applauncher LumashadeAppHotKeyEventCallback() empty event string.";

// Starts the factory's app. Throws std::bad_alloc; a failed launch is logged only.
void LaunchCompanionApp(IHotKeyAppLauncherAbstractFactory& factory, Logging::TraceLogger* logger,
                        std::wstring argument);

} // namespace Zv::Tessel::Server::Services::WMI
