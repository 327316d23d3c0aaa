// How many columns of a terminal a text takes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Zv::Host
{

// Wide characters of East Asia and emoji take two columns, combining marks and invisible ones none, all others one.
// What joins several characters into one picture, as families of emoji do, is not looked at. The text is UTF-8.
[[nodiscard]] std::size_t DisplayWidth(std::string_view text);

// A text that is wider than that ends in an ellipsis.
[[nodiscard]] std::string CutToWidth(std::string_view text, std::size_t width);

} // namespace Zv::Host
