// Finding a line of a log, or words of one, in the table of log lines.
#pragma once

#include "Host/Explain/LogLines.h"

#include <string_view>
#include <vector>

namespace Zv::Host
{

// The rows that the line is an instance of; when it is none, those that have all of its words. Empty when there are
// none.
[[nodiscard]] std::vector<LogLineInfo> FindLogLines(std::string_view line);

} // namespace Zv::Host
