#include "Simulator/Description/Site.h"

#include <algorithm>
#include <array>

namespace Zv::Simulator
{

namespace
{

// In the order of the enumeration.
constexpr std::array<std::string_view, SiteCount> Names = {
    "CoCreateInstance(WbemLocator)",
    "CoCreateInstance(UnsecuredApartment)",
    "IWbemLocator::QueryInterface",
    "IWbemLocator::ConnectServer",
    "IWbemServices::QueryInterface",
    "IWbemServices::OpenNamespace",
    "IWbemServices::CancelAsyncCall",
    "IWbemServices::GetObject",
    "IWbemServices::CreateClassEnum",
    "IWbemServices::CreateInstanceEnum",
    "IWbemServices::ExecQuery",
    "IWbemServices::ExecNotificationQueryAsync",
    "IWbemServices::ExecMethod",
    "IClientSecurity::QueryInterface",
    "IClientSecurity::QueryBlanket",
    "IClientSecurity::SetBlanket",
    "IClientSecurity::CopyProxy",
    "IEnumWbemClassObject::QueryInterface",
    "IEnumWbemClassObject::Reset",
    "IEnumWbemClassObject::Next",
    "IEnumWbemClassObject::Clone",
    "IEnumWbemClassObject::Skip",
    "IWbemClassObject::QueryInterface",
    "IWbemClassObject::Get",
    "IWbemClassObject::Put",
    "IWbemClassObject::Delete",
    "IWbemClassObject::GetNames",
    "IWbemClassObject::BeginEnumeration",
    "IWbemClassObject::Next",
    "IWbemClassObject::EndEnumeration",
    "IWbemClassObject::Clone",
    "IWbemClassObject::GetObjectText",
    "IWbemClassObject::SpawnInstance",
    "IWbemClassObject::CompareTo",
    "IWbemClassObject::GetPropertyOrigin",
    "IWbemClassObject::InheritsFrom",
    "IWbemClassObject::GetMethod",
    "IWbemClassObject::BeginMethodEnumeration",
    "IWbemClassObject::NextMethod",
    "IWbemClassObject::EndMethodEnumeration",
    "IUnsecuredApartment::QueryInterface",
    "IUnsecuredApartment::CreateObjectStub",
    "IWbemObjectSink(stub)::QueryInterface",
};
static_assert(!Names.back().empty());

} // namespace

std::span<const std::string_view> SiteNames() noexcept
{
    return Names;
}

std::string_view SiteName(Site site) noexcept
{
    return Names[static_cast<std::size_t>(site)];
}

std::optional<Site> SiteByName(std::string_view name) noexcept
{
    const auto found = std::ranges::find(Names, name);
    if (found == Names.end())
    {
        return std::nullopt;
    }
    return static_cast<Site>(found - Names.begin());
}

} // namespace Zv::Simulator
