// Reads a property's value from a description, as the property's CIM type asks.
#pragma once

#include "Simulator/Cim/CimModel.h"
#include "Simulator/Description/JsonNode.h"

#include <functional>
#include <string_view>

namespace Zv::Simulator
{

// Null when the namespace has no such class.
using ClassFinder = std::function<ClassPtr(std::wstring_view name)>;

// Throws DescriptionError when the node does not fit the property's type.
[[nodiscard]] Value ReadValue(const JsonNode& node, const Property& property, const ClassFinder& findClass);

// {"InstanceName": "A", ...}: sets those properties of the object.
void ReadValues(const JsonNode& node, Object& object, const ClassFinder& findClass);

} // namespace Zv::Simulator
