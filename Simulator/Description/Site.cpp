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
    "IWbemServices::GetObjectAsync",
    "IWbemServices::CreateClassEnum",
    "IWbemServices::CreateClassEnumAsync",
    "IWbemServices::CreateInstanceEnum",
    "IWbemServices::CreateInstanceEnumAsync",
    "IWbemServices::ExecQuery",
    "IWbemServices::ExecQueryAsync",
    "IWbemServices::ExecNotificationQuery",
    "IWbemServices::ExecNotificationQueryAsync",
    "IWbemServices::ExecMethod",
    "IWbemServices::ExecMethodAsync",
    "IWbemCallResult::QueryInterface",
    "IWbemCallResult::GetResultObject",
    "IWbemCallResult::GetCallStatus",
    "IClientSecurity::QueryInterface",
    "IClientSecurity::QueryBlanket",
    "IClientSecurity::SetBlanket",
    "IClientSecurity::CopyProxy",
    "IEnumWbemClassObject::QueryInterface",
    "IEnumWbemClassObject::Reset",
    "IEnumWbemClassObject::Next",
    "IEnumWbemClassObject::NextAsync",
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
    "IWbemClassObject::GetQualifierSet",
    "IWbemClassObject::GetPropertyQualifierSet",
    "IWbemClassObject::GetMethodQualifierSet",
    "IWbemQualifierSet::QueryInterface",
    "IWbemQualifierSet::Get",
    "IWbemQualifierSet::GetNames",
    "IWbemQualifierSet::BeginEnumeration",
    "IWbemQualifierSet::Next",
    "IWbemQualifierSet::EndEnumeration",
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
