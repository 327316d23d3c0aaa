// A command line from its words to its exit code.
#pragma once

#include "Host/CommandLine.h"
#include "Host/Console.h"
#include "Host/ExitCode.h"

#include <memory>
#include <string>
#include <vector>

namespace Zv::Host
{

// Runs it and reports what goes wrong: on standard error, and as JSON where that was asked for. Throws Failure when
// the report cannot be written.
[[nodiscard]] ExitCode RunCommandLine(CommandLine& line, const std::vector<std::string>& arguments, Console& console,
                                      const std::shared_ptr<Connection>& connection = nullptr);

} // namespace Zv::Host
