#include "Simulator/Wql/WqlFilter.h"

#include "Simulator/Cim/CimTypes.h"
#include "Simulator/Cim/DateTime.h"
#include "Simulator/Cim/SystemProperties.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <vector>

namespace Zv::Simulator
{

// A condition with its constants in the property's type.
struct WqlTest
{
    WqlCondition::Kind kind = WqlCondition::Kind::Compare;
    std::vector<WqlTest> parts;

    PropertyPath property;
    CIMTYPE type = CIM_STRING;
    WqlOperator comparison = WqlOperator::Equal;
    Value constant;
};

namespace
{

bool Holds(WqlOperator comparison, int order) noexcept
{
    switch (comparison)
    {
    case WqlOperator::Equal:
        return order == 0;
    case WqlOperator::NotEqual:
        return order != 0;
    case WqlOperator::Less:
        return order < 0;
    case WqlOperator::LessOrEqual:
        return order <= 0;
    case WqlOperator::Greater:
        return order > 0;
    default:
        return order >= 0;
    }
}

template <class T>
int Order(T a, T b) noexcept
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

int OrderOf(const Value& value, const Value& constant, CIMTYPE type) noexcept
{
    if (const std::wstring* const text = value.As<std::wstring>())
    {
        return CompareNoCase(*text, *constant.As<std::wstring>());
    }
    if (const std::int64_t* const number = value.As<std::int64_t>())
    {
        const std::int64_t other = *constant.As<std::int64_t>();
        return type == CIM_UINT64 ? Order(static_cast<std::uint64_t>(*number), static_cast<std::uint64_t>(other))
                                  : Order(*number, other);
    }
    if (const double* const real = value.As<double>())
    {
        return Order(*real, *constant.As<double>());
    }
    return Order(*value.As<bool>(), *constant.As<bool>());
}

// The constant as a value of the property's type; empty when it can never be one.
std::optional<Value> ConstantFor(const WqlLiteral& literal, CIMTYPE type)
{
    const WqlNumber* const number = std::get_if<WqlNumber>(&literal);
    const std::wstring* const text = std::get_if<std::wstring>(&literal);
    const bool* const flag = std::get_if<bool>(&literal);
    const std::wstring& spelling = number != nullptr ? number->text : (text != nullptr ? *text : std::wstring{});
    if (std::holds_alternative<std::monostate>(literal))
    {
        return Value{};
    }
    if (IsIntegerType(type))
    {
        // Wider than the property is no error: such a number just never equals it.
        const CIMTYPE wide = type == CIM_UINT64 ? CIM_UINT64 : CIM_SINT64;
        const auto value = ParseInteger(wide, spelling);
        return value ? std::optional{Value{*value}} : std::nullopt;
    }
    if (IsRealType(type))
    {
        wchar_t* end = nullptr;
        const double value = std::wcstod(spelling.c_str(), &end);
        return spelling.empty() || *end != L'\0' ? std::nullopt : std::optional{Value{value}};
    }
    if (type == CIM_BOOLEAN)
    {
        if (flag != nullptr)
        {
            return Value{*flag};
        }
        const bool isTrue = spelling == L"1" || EqualNoCase(spelling, L"true");
        const bool isFalse = spelling == L"0" || EqualNoCase(spelling, L"false");
        return isTrue || isFalse ? std::optional{Value{isTrue}} : std::nullopt;
    }
    const bool fits = text != nullptr && IsTextType(type) && (type != CIM_DATETIME || IsDateTime(*text));
    return fits ? std::optional{Value{*text}} : std::nullopt;
}

// The type of the property that a dotted name leads to. What lies in an embedded object is not known before one is
// there; such a name counts as text.
std::optional<CIMTYPE> TypeOf(const PropertyPath& path, const ClassPtr& definition)
{
    const std::wstring& first = path.front();
    if (path.size() == 1 && IsSystemName(first))
    {
        if (EqualNoCase(first, L"__this"))
        {
            return CIM_OBJECT;
        }
        const auto system = FindSystemProperty(*MakeClassObject(definition), first);
        return system ? std::optional{system->type} : std::nullopt;
    }
    const auto index = definition->FindProperty(first);
    if (!index)
    {
        return std::nullopt;
    }
    const CIMTYPE type = definition->properties[*index].type;
    if (path.size() == 1)
    {
        return type;
    }
    return type == CIM_OBJECT ? std::optional<CIMTYPE>{CIM_STRING} : std::nullopt;
}

bool Compares(WqlOperator comparison, CIMTYPE type, const WqlLiteral& literal) noexcept
{
    const bool equality = comparison == WqlOperator::Equal || comparison == WqlOperator::NotEqual;
    if (comparison == WqlOperator::Isa)
    {
        return type == CIM_OBJECT;
    }
    if (std::holds_alternative<std::monostate>(literal))
    {
        return equality;
    }
    if (comparison == WqlOperator::Like)
    {
        return IsTextType(type) && (type & CIM_FLAG_ARRAY) == 0;
    }
    return (type & CIM_FLAG_ARRAY) == 0 && type != CIM_OBJECT && (equality || type != CIM_BOOLEAN);
}

std::optional<WqlTest> Check(const WqlCondition& condition, const ClassPtr& definition)
{
    WqlTest test;
    test.kind = condition.kind;
    if (condition.kind != WqlCondition::Kind::Compare)
    {
        for (const WqlCondition& part : condition.parts)
        {
            std::optional<WqlTest> checked = Check(part, definition);
            if (!checked)
            {
                return std::nullopt;
            }
            test.parts.push_back(std::move(*checked));
        }
        return test;
    }
    const std::optional<CIMTYPE> type = TypeOf(condition.property, definition);
    if (!type || !Compares(condition.comparison, *type, condition.literal))
    {
        return std::nullopt;
    }
    const bool asText = condition.comparison == WqlOperator::Isa || condition.comparison == WqlOperator::Like;
    std::optional<Value> constant = ConstantFor(condition.literal, asText ? CIMTYPE{CIM_STRING} : *type);
    if (!constant)
    {
        return std::nullopt;
    }
    test.property = condition.property;
    test.type = *type;
    test.comparison = condition.comparison;
    test.constant = std::move(*constant);
    return test;
}

bool CompareHolds(const WqlTest& test, const Value& value)
{
    if (test.comparison == WqlOperator::Isa)
    {
        const ObjectPtr* const object = value.As<ObjectPtr>();
        return object != nullptr && EqualNoCase((*object)->definition->name, *test.constant.As<std::wstring>());
    }
    if (test.constant.IsNull())
    {
        return value.IsNull() == (test.comparison == WqlOperator::Equal);
    }
    // NULL compares with nothing; neither does what turned out to be of another type in an embedded object.
    if (value.index() != test.constant.index())
    {
        return false;
    }
    if (test.comparison == WqlOperator::Like)
    {
        return MatchesLike(*value.As<std::wstring>(), *test.constant.As<std::wstring>());
    }
    if (test.type == CIM_DATETIME)
    {
        const auto order = CompareDateTimes(*value.As<std::wstring>(), *test.constant.As<std::wstring>());
        return order && Holds(test.comparison, *order);
    }
    return Holds(test.comparison, OrderOf(value, test.constant, test.type));
}

bool Holds(const WqlTest& test, const Object& instance)
{
    switch (test.kind)
    {
    case WqlCondition::Kind::And:
        return std::ranges::all_of(test.parts, [&](const WqlTest& t) { return Holds(t, instance); });
    case WqlCondition::Kind::Or:
        return std::ranges::any_of(test.parts, [&](const WqlTest& t) { return Holds(t, instance); });
    case WqlCondition::Kind::Not:
        return !Holds(test.parts.front(), instance);
    case WqlCondition::Kind::Compare:
        break;
    }
    if (IsSystemName(test.property.front()))
    {
        if (test.comparison == WqlOperator::Isa)
        {
            return EqualNoCase(instance.definition->name, *test.constant.As<std::wstring>());
        }
        const auto system = FindSystemProperty(instance, test.property.front());
        return system && CompareHolds(test, system->value);
    }
    static const Value null;
    const Value* const value = FindValue(instance, test.property);
    return CompareHolds(test, value == nullptr ? null : *value);
}

constexpr wchar_t Lower(wchar_t c) noexcept
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
}

// One element of a pattern that stands for one character: how long it is and whether it fits.
struct LikeElement
{
    std::size_t length;
    bool fits;
};

LikeElement MatchElement(wchar_t c, std::wstring_view pattern) noexcept
{
    if (pattern.front() == L'_')
    {
        return {1, true};
    }
    const std::size_t close = pattern.front() == L'[' ? pattern.find(L']', 1) : std::wstring_view::npos;
    if (close == std::wstring_view::npos)
    {
        return {1, EqualNoCase({&c, 1}, pattern.substr(0, 1))};
    }
    std::wstring_view set = pattern.substr(1, close - 1);
    const bool negated = set.starts_with(L'^');
    set.remove_prefix(negated ? 1 : 0);
    bool found = false;
    for (std::size_t i = 0; i < set.size(); ++i)
    {
        const bool range = i + 2 < set.size() && set[i + 1] == L'-';
        const wchar_t low = Lower(set[i]);
        const wchar_t high = range ? Lower(set[i + 2]) : low;
        found = found || (Lower(c) >= low && Lower(c) <= high);
        i += range ? 2 : 0;
    }
    return {close + 1, found != negated};
}

} // namespace

std::optional<WqlFilter> WqlFilter::Make(const WqlCondition* where, const ClassPtr& definition)
{
    if (where == nullptr)
    {
        return WqlFilter{nullptr};
    }
    std::optional<WqlTest> test = Check(*where, definition);
    return test ? std::optional{WqlFilter{std::make_shared<const WqlTest>(std::move(*test))}} : std::nullopt;
}

bool WqlFilter::Accepts(const Object& instance) const
{
    return m_test == nullptr || Holds(*m_test, instance);
}

bool MatchesLike(std::wstring_view text, std::wstring_view pattern) noexcept
{
    // Where to go on when the text does not fit: after the last %, one character further.
    std::size_t retryText = std::wstring_view::npos;
    std::size_t retryPattern = 0;
    std::size_t t = 0;
    std::size_t p = 0;
    while (t < text.size() || p < pattern.size())
    {
        if (p < pattern.size() && pattern[p] == L'%')
        {
            retryText = t;
            retryPattern = ++p;
            continue;
        }
        if (t < text.size() && p < pattern.size())
        {
            const LikeElement element = MatchElement(text[t], pattern.substr(p));
            if (element.fits)
            {
                ++t;
                p += element.length;
                continue;
            }
        }
        if (retryText >= text.size())
        {
            return false;
        }
        t = ++retryText;
        p = retryPattern;
    }
    return true;
}

} // namespace Zv::Simulator
