#include "Simulator/Cim/CimTypes.h"

#include <algorithm>
#include <cerrno>
#include <cwchar>

namespace Zv::Simulator
{

namespace
{

constexpr CimTypeName Types[] = {
    {"string", CIM_STRING, VT_BSTR},     {"boolean", CIM_BOOLEAN, VT_BOOL}, {"sint8", CIM_SINT8, VT_I2},
    {"uint8", CIM_UINT8, VT_UI1},        {"sint16", CIM_SINT16, VT_I2},     {"uint16", CIM_UINT16, VT_I4},
    {"sint32", CIM_SINT32, VT_I4},       {"uint32", CIM_UINT32, VT_I4},     {"sint64", CIM_SINT64, VT_BSTR},
    {"uint64", CIM_UINT64, VT_BSTR},     {"real32", CIM_REAL32, VT_R4},     {"real64", CIM_REAL64, VT_R8},
    {"datetime", CIM_DATETIME, VT_BSTR}, {"ref", CIM_REFERENCE, VT_BSTR},   {"char16", CIM_CHAR16, VT_I2},
    {"object", CIM_OBJECT, VT_UNKNOWN},
};

} // namespace

const CimTypeName* FindCimType(std::string_view name) noexcept
{
    const auto* const found = std::ranges::find_if(Types, [&](const CimTypeName& type) { return type.name == name; });
    return found == std::end(Types) ? nullptr : found;
}

const CimTypeName& DescribeCimType(CIMTYPE type) noexcept
{
    return *std::find_if(std::begin(Types), std::end(Types) - 1,
                         [&](const CimTypeName& entry) { return entry.type == (type & ~CIM_FLAG_ARRAY); });
}

std::string CimTypeList()
{
    std::string list;
    for (const CimTypeName& type : Types)
    {
        list += (list.empty() ? "" : ", ") + std::string{type.name};
    }
    return list;
}

bool IsIntegerType(CIMTYPE type) noexcept
{
    switch (type & ~CIM_FLAG_ARRAY)
    {
    case CIM_SINT8:
    case CIM_UINT8:
    case CIM_SINT16:
    case CIM_UINT16:
    case CIM_SINT32:
    case CIM_UINT32:
    case CIM_SINT64:
    case CIM_UINT64:
    case CIM_CHAR16:
        return true;
    default:
        return false;
    }
}

bool IsRealType(CIMTYPE type) noexcept
{
    const CIMTYPE element = type & ~CIM_FLAG_ARRAY;
    return element == CIM_REAL32 || element == CIM_REAL64;
}

bool IsTextType(CIMTYPE type) noexcept
{
    const CIMTYPE element = type & ~CIM_FLAG_ARRAY;
    return element == CIM_STRING || element == CIM_DATETIME || element == CIM_REFERENCE;
}

IntegerRange RangeOf(CIMTYPE type) noexcept
{
    switch (type & ~CIM_FLAG_ARRAY)
    {
    case CIM_SINT8:
        return {INT8_MIN, INT8_MAX};
    case CIM_UINT8:
        return {0, UINT8_MAX};
    case CIM_SINT16:
        return {INT16_MIN, INT16_MAX};
    case CIM_UINT16:
    case CIM_CHAR16:
        return {0, UINT16_MAX};
    case CIM_SINT32:
        return {INT32_MIN, INT32_MAX};
    case CIM_UINT32:
        return {0, UINT32_MAX};
    case CIM_UINT64:
        return {0, INT64_MAX};
    default:
        return {INT64_MIN, INT64_MAX};
    }
}

std::wstring IntegerText(CIMTYPE type, std::int64_t value)
{
    return (type & ~CIM_FLAG_ARRAY) == CIM_UINT64 ? std::to_wstring(static_cast<std::uint64_t>(value))
                                                  : std::to_wstring(value);
}

std::optional<std::int64_t> ParseInteger(CIMTYPE type, std::wstring_view text) noexcept
{
    // The standard functions need a terminator, and no number that fits is longer than this.
    wchar_t digits[24] = {};
    const bool negative = text.starts_with(L'-');
    if (text.empty() || text.size() >= std::size(digits) ||
        text.find_first_not_of(L"0123456789", negative ? 1 : 0) != std::wstring_view::npos ||
        (negative && text.size() == 1))
    {
        return std::nullopt;
    }
    std::copy(text.begin(), text.end(), digits);
    errno = 0;
    if ((type & ~CIM_FLAG_ARRAY) == CIM_UINT64)
    {
        const unsigned long long value = std::wcstoull(digits, nullptr, 10);
        return errno != 0 || negative ? std::nullopt : std::optional{static_cast<std::int64_t>(value)};
    }
    const std::int64_t value = std::wcstoll(digits, nullptr, 10);
    const IntegerRange range = RangeOf(type);
    return errno != 0 || value < range.minimum || value > range.maximum ? std::nullopt : std::optional{value};
}

} // namespace Zv::Simulator
