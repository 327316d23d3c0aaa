// Status codes of WMI and COM that calls of the module fail with.
#pragma once

#include <span>

namespace Zv::Host
{

struct HResultInfo
{
    unsigned int code;
    const char* name;
    const char* meaning; // short, fits behind the number in an error line
    const char* advice;  // what to do
};

// In ascending order.
[[nodiscard]] std::span<const HResultInfo> AllHResults() noexcept;

// Null for a code that is not in the table.
[[nodiscard]] const HResultInfo* FindHResult(unsigned int code) noexcept;

// What this machine lacks, in plain words, when a registration failed with this status of a call; null when it is
// something else.
[[nodiscard]] const char* WhyNoEvents(unsigned int status) noexcept;

} // namespace Zv::Host
