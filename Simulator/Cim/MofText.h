// Objects in the Managed Object Format, as IWbemClassObject::GetObjectText writes them.
#pragma once

#include "Simulator/Cim/CimModel.h"

#include <string>

namespace Zv::Simulator
{

// An instance without its NULL properties, or a class with its methods.
[[nodiscard]] std::wstring MofText(const Object& object);

} // namespace Zv::Simulator
