// The calls that a simulated machine answers, as places where faults can be put and calls are counted.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Zv::Simulator
{

enum class Site : std::size_t
{
    CreateLocator,
    CreateUnsecuredApartment,
    LocatorQueryInterface,
    LocatorConnectServer,
    ServicesQueryInterface,
    ServicesOpenNamespace,
    ServicesCancelAsyncCall,
    ServicesGetObject,
    ServicesGetObjectAsync,
    ServicesCreateClassEnum,
    ServicesCreateClassEnumAsync,
    ServicesCreateInstanceEnum,
    ServicesCreateInstanceEnumAsync,
    ServicesExecQuery,
    ServicesExecQueryAsync,
    ServicesExecNotificationQuery,
    ServicesExecNotificationQueryAsync,
    ServicesExecMethod,
    ServicesExecMethodAsync,
    CallResultQueryInterface,
    CallResultGetResultObject,
    CallResultGetCallStatus,
    SecurityQueryInterface,
    SecurityQueryBlanket,
    SecuritySetBlanket,
    SecurityCopyProxy,
    EnumeratorQueryInterface,
    EnumeratorReset,
    EnumeratorNext,
    EnumeratorNextAsync,
    EnumeratorClone,
    EnumeratorSkip,
    ObjectQueryInterface,
    ObjectGet,
    ObjectPut,
    ObjectDelete,
    ObjectGetNames,
    ObjectBeginEnumeration,
    ObjectNext,
    ObjectEndEnumeration,
    ObjectClone,
    ObjectGetObjectText,
    ObjectSpawnInstance,
    ObjectCompareTo,
    ObjectGetPropertyOrigin,
    ObjectInheritsFrom,
    ObjectGetMethod,
    ObjectBeginMethodEnumeration,
    ObjectNextMethod,
    ObjectEndMethodEnumeration,
    ObjectGetQualifierSet,
    ObjectGetPropertyQualifierSet,
    ObjectGetMethodQualifierSet,
    QualifiersQueryInterface,
    QualifiersGet,
    QualifiersGetNames,
    QualifiersBeginEnumeration,
    QualifiersNext,
    QualifiersEndEnumeration,
    ApartmentQueryInterface,
    ApartmentCreateObjectStub,
    StubQueryInterface,
    Count
};

inline constexpr std::size_t SiteCount = static_cast<std::size_t>(Site::Count);

// "IWbemServices::ExecQuery", "CoCreateInstance(WbemLocator)".
[[nodiscard]] std::string_view SiteName(Site site) noexcept;
[[nodiscard]] std::span<const std::string_view> SiteNames() noexcept;
[[nodiscard]] std::optional<Site> SiteByName(std::string_view name) noexcept;

} // namespace Zv::Simulator
