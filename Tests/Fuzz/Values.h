// Property values of the fuzzer's choice.
#pragma once

#include "Tests/Fuzz/Machine.h"

namespace Zv::Fuzz
{

// Fills an empty VARIANT with what the property of that name usually holds, or with anything else that WMI can hand
// out.
HRESULT FillValue(const std::shared_ptr<Machine::State>& state, const std::wstring& property, VARIANT* value,
                  CIMTYPE* type);

// An object whose properties are of the fuzzer's choice. The caller has its one reference.
[[nodiscard]] IWbemClassObject* NewObject(const std::shared_ptr<Machine::State>& state);

} // namespace Zv::Fuzz
