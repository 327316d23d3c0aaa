// The library that reads command lines, which no other part knows.
#pragma once

#include "Host/CommandLine/Arguments.h"

#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

// The program or one of its subcommands.
struct Syntax
{
    std::string name;
    std::string alias; // or empty
    std::string summary;
    std::string footer; // of --help
    const Arguments* arguments = nullptr;
    bool isHidden = false;
};

// Of a command line that the syntax does not allow.
struct Mistake
{
    enum class Kind
    {
        Unexpected,     // a word that nothing takes
        NotConvertible, // the value of a flag
        Other
    };
    Kind kind = Kind::Other;
    std::string text = {};
    std::optional<std::string> firstLeft = {}; // of the words that nothing took; it may be empty
};

struct Reading
{
    std::string command; // empty: no subcommand was recognised
    std::optional<Mistake> mistake;
    std::optional<std::string> help; // its text, where it was asked for
};

// Fills the targets of the arguments; a mistake leaves some of them filled.
[[nodiscard]] Reading ReadCommandLine(const Syntax& program, const std::vector<Syntax>& commands,
                                      const std::vector<std::string>& words);

} // namespace Zv::Host
