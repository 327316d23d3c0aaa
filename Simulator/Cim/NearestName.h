// What somebody may have meant who mistyped a name.
#pragma once

#include <span>
#include <string_view>

namespace Zv::Simulator
{

// The name that the fewest insertions, removals and replacements of characters make of the text, whatever
// their case. There is at least one.
[[nodiscard]] std::string_view NearestName(std::string_view text, std::span<const std::string_view> names);

} // namespace Zv::Simulator
