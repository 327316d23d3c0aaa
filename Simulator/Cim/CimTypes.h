// CIM types: their names, and the values that descriptions and VARIANTs give for them.
#pragma once

#include "Simulator/Cim/CimModel.h"

#include <oleauto.h>

#include <optional>
#include <string_view>

namespace Zv::Simulator
{

struct CimTypeName
{
    std::string_view name;
    CIMTYPE type;
    VARTYPE variant; // how a value of the type arrives: uint32 as VT_I4, 64-bit integers as VT_BSTR
};

// Null when there is no such type.
[[nodiscard]] const CimTypeName* FindCimType(std::string_view name) noexcept;
[[nodiscard]] const CimTypeName& DescribeCimType(CIMTYPE type) noexcept; // the array flag is ignored
// "sint8, uint8, ..." for error texts.
[[nodiscard]] std::string CimTypeList();

[[nodiscard]] bool IsIntegerType(CIMTYPE type) noexcept;
[[nodiscard]] bool IsRealType(CIMTYPE type) noexcept;
[[nodiscard]] bool IsTextType(CIMTYPE type) noexcept; // string, datetime, reference

// What an integer type holds; uint64 is limited to the positive half where a signed number must do.
struct IntegerRange
{
    std::int64_t minimum;
    std::int64_t maximum;
};
[[nodiscard]] IntegerRange RangeOf(CIMTYPE type) noexcept;

// The number that WMI prints and turns into text.
[[nodiscard]] std::wstring IntegerText(CIMTYPE type, std::int64_t value);
// The whole text as a number of the type; empty when it is none.
[[nodiscard]] std::optional<std::int64_t> ParseInteger(CIMTYPE type, std::wstring_view text) noexcept;

} // namespace Zv::Simulator
