// CIM date-times: 20240305080112.500000+060 for a moment, 00000003080112.500000:000 for a length of time.
#pragma once

#include <optional>
#include <string_view>

namespace Zv::Simulator
{

// Whether the text says a moment or a length of time. A moment may break off after any of its parts from the year on;
// without an offset it is one of Greenwich. Asterisks, for what is not known, count as the least.
[[nodiscard]] bool IsDateTime(std::wstring_view text) noexcept;

// Negative when the first is the earlier moment or the shorter time, 0 when they are one. Empty when one of them is
// neither, or they are not of the same kind.
[[nodiscard]] std::optional<int> CompareDateTimes(std::wstring_view a, std::wstring_view b) noexcept;

} // namespace Zv::Simulator
