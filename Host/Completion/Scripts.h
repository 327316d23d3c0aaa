// The scripts that make shells complete wmihost's command lines.
#pragma once

#include <string_view>

namespace Zv::Host
{

// They name no subcommand and no option: they ask "wmihost complete".
extern const std::string_view BashCompletion;
extern const std::string_view PowerShellCompletion;

} // namespace Zv::Host
