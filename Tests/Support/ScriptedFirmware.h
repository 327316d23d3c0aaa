// A firmware method class in scripted WMI, for tests that run raw firmware commands.
#pragma once

#include "Tests/Support/FakeWmi.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Testing
{

inline constexpr wchar_t FirmwareNamespace[] = L"\\\\.\\root\\wmi";

// One machine's firmware: answers each command in the same way and remembers the input block of the last one.
class ScriptedFirmware
{
public:
    // Adds the firmware's classes to the script. Must outlive the commands.
    explicit ScriptedFirmware(WmiScript& script);
    ScriptedFirmware(const ScriptedFirmware&) = delete;
    ScriptedFirmware& operator=(const ScriptedFirmware&) = delete;

    std::int32_t returnCode = 0;
    std::optional<std::vector<std::uint8_t>> data; // "Data" of the answer; zeros of the size that is asked for if none

    // What the last command brought.
    [[nodiscard]] const std::wstring& Method() const noexcept { return m_method; }
    [[nodiscard]] std::int32_t Command() const noexcept { return m_command; }
    [[nodiscard]] std::int32_t CommandType() const noexcept { return m_commandType; }
    [[nodiscard]] std::int32_t Size() const noexcept { return m_size; }
    [[nodiscard]] const std::vector<std::uint8_t>& Input() const noexcept { return m_input; }

private:
    HRESULT Execute(const MethodCall& call, ObjectScriptPtr& output);

    std::wstring m_method;
    std::int32_t m_command = 0;
    std::int32_t m_commandType = 0;
    std::int32_t m_size = 0;
    std::vector<std::uint8_t> m_input;
};

} // namespace Zv::Testing
