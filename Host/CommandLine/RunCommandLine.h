// A command line from its words to its exit code.
#pragma once

#include "Host/CommandLine/CommandLine.h"
#include "Host/Terminal/Console.h"
#include "Host/Text/ExitCode.h"
#include "Host/Text/Failure.h"

#include <memory>
#include <string>
#include <vector>

namespace Zv::Host
{

// What a command line has when it is one of several.
struct LineContext
{
    std::shared_ptr<Connection> connection; // null: one of its own
    std::string place;                      // what its error lines begin with
};

// Runs it and reports what goes wrong. Throws Failure when the report cannot be written.
[[nodiscard]] ExitCode RunCommandLine(CommandLine& line, const std::vector<std::string>& arguments, Console& console,
                                      const LineContext& context = {});

// One line on standard error; as JSON on standard output, too, where that was asked for. Throws Failure when it cannot
// be written.
void Report(Console& console, const GlobalOptions& options, const Failure& failure, const std::string& place);

} // namespace Zv::Host
