// Colours of a terminal.
#pragma once

#include <string>
#include <string_view>

namespace Zv::Host
{

enum class Style
{
    Plain,
    Heading,
    Good,
    Warning,
    Error,
    Faint,
};

enum class ColorChoice
{
    Auto, // where a terminal is there, unless its user wants none
    Always,
    Never,
};

// With the escape sequences around it that a terminal takes.
[[nodiscard]] std::string Styled(Style style, std::string_view text);

// Whether the environment says that the user wants colours: no NO_COLOR (https://no-color.org), no TERM=dumb.
[[nodiscard]] bool UserWantsColor();

} // namespace Zv::Host
