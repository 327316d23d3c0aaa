// File names, as Tab completes them.
#pragma once

#include <string>
#include <vector>

namespace Zv::Host
{

// The files and folders whose paths begin so, in order; folders end in a backslash. Empty where none can be read.
[[nodiscard]] std::vector<std::string> FileNamesThatBegin(const std::string& begin);

} // namespace Zv::Host
