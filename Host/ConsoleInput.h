// Standard input, line by line.
#pragma once

#include "Host/Interruption.h"

#include <optional>
#include <string>

namespace Zv::Host
{

[[nodiscard]] bool InputIsConsole() noexcept;

// The next line in UTF-8, without its end; nothing at the end of the input. Throws Failure: InputOutput when it cannot
// be read, BadInput when it is not UTF-8 or has a zero character, the interruption's when Ctrl-C is the answer.
[[nodiscard]] std::optional<std::string> ReadInputLine(const Interruption& interruption);

// While it lives, a console does not show what is typed.
class HiddenInput
{
public:
    HiddenInput() noexcept;
    HiddenInput(const HiddenInput&) = delete;
    HiddenInput& operator=(const HiddenInput&) = delete;
    ~HiddenInput();

private:
    unsigned long m_mode = 0; // as it was; 0 when there is no console
};

} // namespace Zv::Host
