// The subcommands of the shell.
#pragma once

#include "Host/CommandLine/Command.h"

#include <memory>
#include <vector>

namespace Zv::Host
{

class Shell;

// Those of wmihost, as far as they can run with others in one session, and the shell's own.
[[nodiscard]] std::vector<std::unique_ptr<Command>> MakeShellCommands(Shell& shell);

} // namespace Zv::Host
