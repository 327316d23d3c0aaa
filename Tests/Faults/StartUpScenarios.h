// The hotkeys: how they are armed, and what a key does.
#pragma once

#include "Tests/Faults/Scenario.h"

#include <memory>
#include <string>

namespace Zv::Testing
{

[[nodiscard]] std::unique_ptr<Scenario> MakeStartUpTask(std::string name);
// The app is told by the request with which it registers for its events.
[[nodiscard]] std::unique_ptr<Scenario> MakeHotkeyPress(std::string name, const std::wstring& registration,
                                                        std::wstring event);

} // namespace Zv::Testing
