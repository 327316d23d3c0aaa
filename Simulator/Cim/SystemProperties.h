// The properties that WMI itself gives every object.
#pragma once

#include "Simulator/Cim/CimModel.h"

#include <optional>
#include <string_view>
#include <vector>

namespace Zv::Simulator
{

struct SystemValue
{
    std::wstring_view name;
    CIMTYPE type;
    Value value;
};

[[nodiscard]] bool IsSystemName(std::wstring_view name) noexcept; // begins with two underscores
// Empty when there is no such system property.
[[nodiscard]] std::optional<SystemValue> FindSystemProperty(const Object& object, std::wstring_view name);
// In the order in which WMI names them.
[[nodiscard]] const std::vector<std::wstring_view>& SystemPropertyNames();

} // namespace Zv::Simulator
