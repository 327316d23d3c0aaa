// The companion apps that firmware hotkeys start: everything that differs between them and is not a decision.
#pragma once

#include <span>

namespace Zv::Tessel::Server::Services::WMI
{

// Where the board's id stands in WMI, which decides whether an app is supported.
inline constexpr wchar_t BoardIdProperty[] = L"Product";
inline constexpr wchar_t BoardIdClass[] = L"Win32_BaseBoard";
inline constexpr wchar_t BoardIdNamespace[] = L"ROOT\\CIMV2";

struct CompanionApp
{
    std::span<const wchar_t* const> supportedBoardIds; // none: the app is supported on every board
    std::span<const int> hotkeyEventIds;               // firmware events to subscribe to, in this order

    const wchar_t* packageFamilyName;
    const wchar_t* exeName; // file name of the execution alias

    // Log lines
    const wchar_t* notSupported;   // warning
    const wchar_t* isRunning;      // info
    const wchar_t* callbackFailed; // error
    const wchar_t* runFailed;      // error
    const wchar_t* launchRaised;   // error
};

inline constexpr const wchar_t* LumashadeBoardIds[] = {L"7C21", L"7D3A", L"7D4F", L"7D52", L"7D60"};
inline constexpr int LumashadeEventIds[] = {20};

inline constexpr CompanionApp Lumashade{
    .supportedBoardIds = LumashadeBoardIds,
    .hotkeyEventIds = LumashadeEventIds,
    .packageFamilyName = L"7B3E90C4.Lumashade_k2x7m4qp9wt1d",
    .exeName = L"Lumashade.exe",
    .notSupported = L"hotKeyListener() Lumashade App Launcher feature is not supported for this platform.",
    .isRunning = L"hotkeyListener() for Lumashade app is running.",
    .callbackFailed = L"Applauncher failed to setup bios wmi event callback for Lumashade app.",
    .runFailed = L"Launcher class failed to launch The Lumashade UWP App.",
    .launchRaised = L"The Lumashade UWP App launch failed.",
};

inline constexpr int ChimeboxEventIds[] = {3, 0x20002, 0x20001, 21};

inline constexpr CompanionApp Chimebox{
    .supportedBoardIds = {},
    .hotkeyEventIds = ChimeboxEventIds,
    .packageFamilyName = L"7B3E90C4.Chimeboxes_k2x7m4qp9wt1d",
    .exeName = L"ChimeboxUWP.exe",
    .notSupported = L"hotKeyListener() Chimebox App Launcher feature is not supported for this platform.",
    .isRunning = L"hotkeyListener() for Chimebox app is running.",
    .callbackFailed = L"Applauncher failed to setup bios wmi event callback for Chimebox app.",
    .runFailed = L"Launcher class failed to launch The Chimebox UWP App.",
    .launchRaised = L"The Chimebox UWP App launch failed.",
};

} // namespace Zv::Tessel::Server::Services::WMI
