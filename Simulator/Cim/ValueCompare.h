// Whether two values are the same.
#pragma once

#include "Simulator/Cim/CimModel.h"

namespace Zv::Simulator
{

// Embedded objects are compared by class and content; texts exactly.
[[nodiscard]] bool SameValue(const Value& a, const Value& b);
[[nodiscard]] bool SameObject(const Object& a, const Object& b);

} // namespace Zv::Simulator
