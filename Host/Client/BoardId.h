// The id of the machine's board, which decides which hotkeys the module arms.
#pragma once

#include "Host/Client/Session.h"

#include <optional>
#include <string>

namespace Zv::Host
{

// Asks as the module does at its start. Empty when it cannot be read.
[[nodiscard]] std::optional<std::string> ReadBoardId(Session& session);

} // namespace Zv::Host
