// The query language: SELECT *|properties FROM class [WITHIN seconds] [WHERE condition].
#pragma once

#include "Simulator/Cim/CimModel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Zv::Simulator
{

// A constant in a query; monostate is NULL. Numbers keep their spelling: the property decides what they mean.
struct WqlNumber
{
    std::wstring text;
};
using WqlLiteral = std::variant<std::monostate, bool, WqlNumber, std::wstring>;

enum class WqlOperator
{
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Like,
    Isa
};

// A condition as it was written.
struct WqlCondition
{
    enum class Kind
    {
        And,
        Or,
        Not,
        Compare
    };

    Kind kind = Kind::Compare;
    std::vector<WqlCondition> parts; // of And and Or any number, of Not one
    PropertyPath property;
    WqlOperator comparison = WqlOperator::Equal;
    WqlLiteral literal;
};

struct WqlQuery
{
    std::vector<std::wstring> columns; // empty: all
    std::wstring className;
    bool within = false;
    std::optional<WqlCondition> where; // none: every instance
};

// Whether the text asks for what WQL has and a simulated machine does not: associations, schema queries, groups.
[[nodiscard]] bool IsBeyondSimulation(std::wstring_view text) noexcept;

// Empty when the text is no such query.
[[nodiscard]] std::optional<WqlQuery> ParseWql(std::wstring_view text);

} // namespace Zv::Simulator
