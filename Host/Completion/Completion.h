// What may stand at a place of a command line.
#pragma once

#include "Host/CommandLine/CommandLine.h"

#include <functional>
#include <string>
#include <vector>

namespace Zv::Host
{

struct Completion
{
    std::vector<std::string> words;
    bool files = false; // the name of a file
};

// Where names come from that only a machine can tell; empty when it does not.
struct NameSource
{
    using Names = std::vector<std::string>;
    std::function<Names(const std::string& nameSpace)> classes;
    std::function<Names(const std::string& nameSpace, const std::string& wmiClass)> properties;
};

// What may follow the words, beginning with `begin`, which may be empty. It knows what the command line declares: names
// of subcommands and options; the words of a type such as on|off; and by their names arguments that are classes,
// properties and files. What else a value may be, its declaration says (Argument::tabs).
[[nodiscard]] Completion Complete(const CommandLine& line, const std::vector<std::string>& words,
                                  const std::string& begin, const NameSource& names);

// What the words give an option such as --simulate; empty when they do not.
[[nodiscard]] std::string GivenValue(const CommandLine& line, const std::vector<std::string>& words,
                                     const std::string& option);

} // namespace Zv::Host
