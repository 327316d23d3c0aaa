// The qualifiers of classes, properties, parameters and methods.
#pragma once

#include "Simulator/Cim/CimModel.h"

#include <string>
#include <vector>

namespace Zv::Simulator
{

struct Qualifier
{
    std::wstring name;
    CIMTYPE type = CIM_BOOLEAN;
    Value value = true;
    LONG flavor = 0; // WBEM_FLAVOR_...
};
using QualifierList = std::vector<Qualifier>;

// An instance has those that its class hands down.
[[nodiscard]] QualifierList QualifiersOf(const Object& object);
[[nodiscard]] QualifierList QualifiersOf(const Object& object, const Property& property);
[[nodiscard]] QualifierList QualifiersOf(const Method& method);

// Null when there is none of that name.
[[nodiscard]] const Qualifier* FindQualifier(const QualifierList& qualifiers, std::wstring_view name) noexcept;

} // namespace Zv::Simulator
