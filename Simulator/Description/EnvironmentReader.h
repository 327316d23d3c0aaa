// Reads the sections of a description that stand beside its classes.
#pragma once

#include "Simulator/Description/Description.h"
#include "Simulator/Description/JsonNode.h"

namespace Zv::Simulator
{

[[nodiscard]] Settings ReadSettings(const JsonNode& node, Description& description);
[[nodiscard]] Events ReadEvents(const JsonNode& node, const Description& description);
[[nodiscard]] Fault ReadFault(const JsonNode& node);
[[nodiscard]] ProcessSecurity ReadSecurity(const JsonNode& node);
[[nodiscard]] Session ReadSession(const JsonNode& node);
[[nodiscard]] Package ReadPackage(const JsonNode& node);

} // namespace Zv::Simulator
