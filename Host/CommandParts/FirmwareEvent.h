// Firmware events on the command line and in lines of output.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

struct FirmwareEvent
{
    int id = 0;
    int data = 0;

    // "21:0"
    [[nodiscard]] std::string Text() const { return std::to_string(id) + ':' + std::to_string(data); }
};

// ID or ID:DATA, each as ParseSigned takes it.
[[nodiscard]] std::optional<FirmwareEvent> ParseEvent(std::string_view text) noexcept;

// For options and arguments: throws std::invalid_argument.
[[nodiscard]] FirmwareEvent EventFrom(const std::string& text);

} // namespace Zv::Host
