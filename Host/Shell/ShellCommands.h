// The subcommands of the shell.
#pragma once

#include "Host/CommandLine/Command.h"

namespace Zv::Host
{

class Shell;

// Those of wmihost, as far as they can run with others in one session, and the shell's own.
[[nodiscard]] Commands MakeShellCommands(Shell& shell);

} // namespace Zv::Host
