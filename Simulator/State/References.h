// Counts the interface references that a machine has handed out and that are still held.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

namespace Zv::Simulator
{

enum class ObjectKind : std::size_t
{
    Locator,
    Services,
    ClientSecurity,
    ClassObject,
    Enumerator,
    CallResult,
    QualifierSet,
    UnsecuredApartment,
    ObjectStub,
    Count
};

inline constexpr std::size_t ObjectKindCount = static_cast<std::size_t>(ObjectKind::Count);

[[nodiscard]] std::string_view ObjectKindName(ObjectKind kind) noexcept;

// Safe on several threads.
class References
{
public:
    void Add(ObjectKind kind) noexcept { m_counts[static_cast<std::size_t>(kind)].fetch_add(1); }
    void Remove(ObjectKind kind) noexcept { m_counts[static_cast<std::size_t>(kind)].fetch_sub(1); }
    [[nodiscard]] std::size_t Count(ObjectKind kind) const noexcept
    {
        return m_counts[static_cast<std::size_t>(kind)].load();
    }

private:
    std::array<std::atomic<std::size_t>, ObjectKindCount> m_counts{};
};

} // namespace Zv::Simulator
