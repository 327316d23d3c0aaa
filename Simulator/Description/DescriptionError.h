// What is wrong with a machine description, and where.
#pragma once

#include <stdexcept>
#include <string>

namespace Zv::Simulator
{

// A place in a text; both numbers count from 1, columns in characters.
struct Position
{
    int line = 1;   // the first is 1
    int column = 1; // likewise
};

// what() reads "line 12, column 7: expected a CIM type, found \"uint33\"".
class DescriptionError : public std::runtime_error
{
public:
    // text: what is wrong there, UTF-8.
    DescriptionError(Position position, const std::string& text)
        : std::runtime_error{"line " + std::to_string(position.line) + ", column " + std::to_string(position.column) +
                             ": " + text},
          line{position.line},
          column{position.column},
          message{text}
    {
    }

    int line;            // of the mistake
    int column;          // likewise
    std::string message; // without the position, UTF-8
};

} // namespace Zv::Simulator
