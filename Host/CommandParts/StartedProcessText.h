// How programs that were started for a simulated user are shown.
#pragma once

#include "Simulator/User/UserSession.h"

#include <string>

namespace Zv::Host
{

[[nodiscard]] std::string JsonOf(const Simulator::StartedProcess& started);

// Several lines.
[[nodiscard]] std::string TextOf(const Simulator::StartedProcess& started);

} // namespace Zv::Host
