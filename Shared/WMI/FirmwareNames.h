// What the firmware publishes in WMI, by the names that the module asks for.
#pragma once

#include <cstdint>

namespace Zv::Tessel::Server::Shared::WMI
{

// The namespace of the firmware's methods and events.
inline constexpr const wchar_t* FirmwareNamespace = L"\\\\.\\root\\wmi";

// Raw firmware commands. The method class is written with a capital Z where its instances are enumerated and with a
// small one where the class is fetched, as its clients have always done.
inline constexpr const wchar_t* FirmwareMethodClass = L"zvqBIntM";
inline constexpr const wchar_t* FirmwareMethodClassOfInstances = L"ZvqBIntM";
inline constexpr const wchar_t* FirmwareInputClass = L"zvqBDataIn";
// One method for each number of bytes that comes back.
inline constexpr const wchar_t* FirmwareMethodNameFormat = L"zvqBIOSInt%ld";
inline constexpr std::uint32_t FirmwareReturnSizes[] = {0, 4, 128, 1024, 4096};

// Firmware events
inline constexpr const wchar_t* FirmwareEventClass = L"zvqBEvnt";
inline constexpr const char* FirmwareEventQuery = "SELECT * from zvqBEvnt";

// Firmware settings
inline constexpr const wchar_t* SettingsNamespace = L"ROOT\\ZV\\InstrumentedBIOS";
inline constexpr const wchar_t* SettingsClass = L"ZVBIOS_BIOSSettingInterface";
inline constexpr const wchar_t* SettingsChangeMethod = L"SetBIOSSetting";
inline constexpr const wchar_t* SettingsDefaultsMethod = L"SetSystemDefaults";

} // namespace Zv::Tessel::Server::Shared::WMI
