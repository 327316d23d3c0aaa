// wmihost from its arguments to its exit code.
#pragma once

#include "Host/Text/ExitCode.h"

#include <string>
#include <vector>

namespace Zv::Host
{

// Nothing is thrown out of it.
[[nodiscard]] ExitCode RunApplication(const std::vector<std::string>& arguments) noexcept;

} // namespace Zv::Host
