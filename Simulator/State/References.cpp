#include "Simulator/State/References.h"

namespace Zv::Simulator
{

std::string_view ObjectKindName(ObjectKind kind) noexcept
{
    // In the order of the enumeration.
    constexpr std::array<std::string_view, ObjectKindCount> names = {
        "IWbemLocator",    "IWbemServices",     "IClientSecurity",     "IWbemClassObject", "IEnumWbemClassObject",
        "IWbemCallResult", "IWbemQualifierSet", "IUnsecuredApartment", "object stub"};
    static_assert(!names.back().empty());
    return names[static_cast<std::size_t>(kind)];
}

} // namespace Zv::Simulator
