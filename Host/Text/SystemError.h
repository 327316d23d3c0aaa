// What Windows says about its error codes.
#pragma once

#include <string>

namespace Zv::Host
{

// "File not found (system error 2)"
[[nodiscard]] std::string SystemErrorText(unsigned long error);

} // namespace Zv::Host
