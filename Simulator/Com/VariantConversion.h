// Between a property's value and the VARIANT that carries it.
#pragma once

#include "Simulator/Cim/CimModel.h"
#include "Simulator/Com/Core.h"

#include <oleauto.h>

namespace Zv::Simulator
{

// Overwrites the VARIANT, as WMI does, without clearing it first. The caller owns what it then holds. An embedded
// object arrives as a new COM object. Throws std::bad_alloc.
void ToVariant(const CorePtr& core, const Value& value, CIMTYPE type, VARIANT& result);
void ToVariant(const CorePtr& core, std::wstring_view text, VARIANT& result);
[[nodiscard]] BSTR MakeString(Core& core, std::wstring_view text);
// VT_ARRAY of VT_BSTR.
[[nodiscard]] SAFEARRAY* MakeStringArray(Core& core, const std::vector<std::wstring>& texts);

// WBEM_E_TYPE_MISMATCH when the VARIANT cannot become a value of the property's type.
[[nodiscard]] HRESULT FromVariant(const VARIANT& given, const Property& property, Value& result);

} // namespace Zv::Simulator
