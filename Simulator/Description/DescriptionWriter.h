// Writes what ReadDescription reads.
#pragma once

#include "Simulator/Description/Description.h"

#include <string>
#include <string_view>

namespace Zv::Simulator
{

// The text of a description with the name, server and namespaces of the given one: classes, method signatures and
// instances. Rules, settings, events, faults, session and packages are not written.
[[nodiscard]] std::string WriteDescription(const Description& description, std::string_view note);

} // namespace Zv::Simulator
