// The arguments that the program was started with.
#pragma once

#include <string>
#include <vector>

namespace Zv::Host
{

// In UTF-8, without the program's name. main() would get them in the code page of the user, with characters lost.
[[nodiscard]] std::vector<std::string> CommandLineArguments();

} // namespace Zv::Host
