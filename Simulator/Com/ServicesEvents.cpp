// The part of IWbemServices that is about events.
#include "Simulator/Cim/SystemProperties.h"
#include "Simulator/Com/EventEnumerator.h"
#include "Simulator/Com/EventHub.h"
#include "Simulator/Com/QueryRunner.h"
#include "Simulator/Com/Services.h"
#include "Simulator/Wql/Wql.h"

namespace Zv::Simulator
{

namespace
{

// What a subscription needs to know of its query.
HRESULT CheckEventQuery(const Namespace& nameSpace, std::wstring_view query, ClassPtr& definition,
                        std::optional<WqlFilter>& filter)
{
    if (IsBeyondSimulation(query))
    {
        return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
    }
    const std::optional<WqlQuery> parsed = ParseWql(query);
    if (!parsed)
    {
        return Status(WBEM_E_UNPARSABLE_QUERY);
    }
    const ClassEntry* const entry = FindClass(nameSpace, parsed->className);
    if (entry == nullptr)
    {
        const bool ofTheSystem = IsSystemName(parsed->className) || EqualNoCase(parsed->className, L"WMIEvent");
        return Status(ofTheSystem ? WBEM_E_PROVIDER_NOT_CAPABLE : WBEM_E_INVALID_CLASS);
    }
    if (!entry->definition->event)
    {
        return Status(WBEM_E_NOT_EVENT_CLASS);
    }
    definition = entry->definition;
    filter = WqlFilter::Make(parsed->where ? &*parsed->where : nullptr, definition);
    return filter ? S_OK : Status(WBEM_E_INVALID_QUERY);
}

} // namespace

HRESULT Services::Subscribe(Site site, BSTR language, BSTR query, LONG flags, bool valid,
                            const std::function<void(ClassPtr, WqlFilter)>& subscribe)
{
    return Gate().Call(
        site, View(query), [&] { return std::to_wstring(flags); },
        [&]() -> HRESULT {
            if (!valid)
            {
                return Status(WBEM_E_INVALID_PARAMETER);
            }
            if (const HRESULT hr = CheckLanguage(language, query); FAILED(hr))
            {
                return hr;
            }
            ClassPtr definition;
            std::optional<WqlFilter> filter;
            const HRESULT hr = CheckEventQuery(m_nameSpace, query, definition, filter);
            if (SUCCEEDED(hr))
            {
                subscribe(std::move(definition), std::move(*filter));
            }
            return hr;
        });
}

HRESULT Services::ExecNotificationQuery(BSTR language, BSTR query, LONG flags, IWbemContext*,
                                        IEnumWbemClassObject** enumerator)
{
    constexpr LONG wanted = Flags(WBEM_FLAG_RETURN_IMMEDIATELY, WBEM_FLAG_FORWARD_ONLY);
    const bool valid = enumerator != nullptr && flags == wanted;
    if (enumerator != nullptr)
    {
        *enumerator = nullptr;
    }
    return Subscribe(
        Site::ServicesExecNotificationQuery, language, query, flags, valid, [&](ClassPtr definition, WqlFilter filter) {
            *enumerator = MakeObject<EventEnumerator>(SharedCore(), std::move(definition), std::move(filter)).Detach();
        });
}

HRESULT Services::ExecNotificationQueryAsync(BSTR language, BSTR query, LONG flags, IWbemContext*,
                                             IWbemObjectSink* sink)
{
    const bool valid = sink != nullptr && (flags & ~Flags(WBEM_FLAG_SEND_STATUS)) == 0;
    return Subscribe(Site::ServicesExecNotificationQueryAsync, language, query, flags, valid,
                     [&](ClassPtr definition, WqlFilter filter) {
                         sink->AddRef();
                         GetCore().events->Subscribe({ComPtr<IWbemObjectSink>{sink}, std::move(definition),
                                                      std::move(filter), nullptr, Gate().GetApartment()});
                     });
}

} // namespace Zv::Simulator
