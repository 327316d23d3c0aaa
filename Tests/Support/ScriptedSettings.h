// The firmware's settings class in scripted WMI, for tests that change settings or restore the defaults.
#pragma once

#include "Tests/Support/FakeWmi.h"

namespace Zv::Testing
{

inline constexpr wchar_t SettingsNamespace[] = L"ROOT\\ZV\\InstrumentedBIOS";
inline constexpr wchar_t SettingsClass[] = L"ZVBIOS_BIOSSettingInterface";

// One machine's settings: takes whatever it is told and answers with one verdict.
class ScriptedSettings
{
public:
    // Adds the settings class to the script. Must outlive the commands.
    explicit ScriptedSettings(WmiScript& script);
    ScriptedSettings(const ScriptedSettings&) = delete;
    ScriptedSettings& operator=(const ScriptedSettings&) = delete;

    Value verdict = Value::Int(0, CIM_UINT32); // "Return" of the answer
};

} // namespace Zv::Testing
