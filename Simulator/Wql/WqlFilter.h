// A query's condition, checked against a class and ready to be asked about its instances.
#pragma once

#include "Simulator/Cim/CimModel.h"
#include "Simulator/Wql/Wql.h"

#include <memory>
#include <optional>
#include <utility>

namespace Zv::Simulator
{

class WqlFilter
{
public:
    // Empty when the condition names a property that the class does not have, or compares it with what it can never be.
    [[nodiscard]] static std::optional<WqlFilter> Make(const WqlCondition* where, const ClassPtr& definition);

    [[nodiscard]] bool Accepts(const Object& instance) const;

private:
    explicit WqlFilter(std::shared_ptr<const struct WqlTest> test) noexcept : m_test{std::move(test)} {}

    std::shared_ptr<const struct WqlTest> m_test; // null: accepts everything
};

// SELECT LIKE of WQL: % any text, _ one character, [a-f], [^a-f]; without case.
[[nodiscard]] bool MatchesLike(std::wstring_view text, std::wstring_view pattern) noexcept;

} // namespace Zv::Simulator
