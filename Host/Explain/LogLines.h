// What each line that the module logs means to a person.
#pragma once

#include <span>

namespace Zv::Host
{

// One row of the table of log lines: for explanations, for the documentation.
struct LogLineInfo
{
    const char* level;  // info, warning, error; debugger for what goes to OutputDebugString alone
    const char* text;   // what varies stands in braces: "{key} cannot be null"
    const char* source; // "Class.Method" of the lines that begin with that, separated by commas; empty for the others
    const char* causes; // likely ones
    const char* advice; // what to do; may be empty
};

// In the order in which a command may write them: requests, connections, firmware, queries, settings, events; then
// those of the hotkeys and of the launcher.
[[nodiscard]] std::span<const LogLineInfo> AllLogLines() noexcept;

} // namespace Zv::Host
