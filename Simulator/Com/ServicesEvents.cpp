// The part of IWbemServices that is about events.
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
    const std::optional<WqlQuery> parsed = ParseWql(query);
    if (!parsed)
    {
        return Status(WBEM_E_UNPARSABLE_QUERY);
    }
    const ClassEntry* const entry = FindClass(nameSpace, parsed->className);
    if (entry == nullptr)
    {
        return Status(WBEM_E_INVALID_CLASS);
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

HRESULT Services::ExecNotificationQueryAsync(BSTR language, BSTR query, LONG flags, IWbemContext*,
                                             IWbemObjectSink* sink)
{
    return Gate().Call(
        Site::ServicesExecNotificationQueryAsync, query == nullptr ? L"" : query,
        [&] { return std::to_wstring(flags); },
        [&]() -> HRESULT {
            const bool empty = language == nullptr || *language == L'\0' || query == nullptr || *query == L'\0';
            if (sink == nullptr || empty || (flags & ~Flags(WBEM_FLAG_SEND_STATUS)) != 0)
            {
                return Status(WBEM_E_INVALID_PARAMETER);
            }
            if (!EqualNoCase(language, L"WQL"))
            {
                return Status(WBEM_E_INVALID_QUERY_TYPE);
            }
            ClassPtr definition;
            std::optional<WqlFilter> filter;
            if (const HRESULT hr = CheckEventQuery(m_nameSpace, query, definition, filter); FAILED(hr))
            {
                return hr;
            }
            sink->AddRef();
            GetCore().events->Subscribe({ComPtr<IWbemObjectSink>{sink}, std::move(definition), std::move(*filter)});
            return S_OK;
        });
}

HRESULT Services::CancelAsyncCall(IWbemObjectSink* sink)
{
    return Gate().Call(Site::ServicesCancelAsyncCall, {}, [&]() -> HRESULT {
        return sink == nullptr ? Status(WBEM_E_INVALID_PARAMETER) : GetCore().events->Cancel(*sink);
    });
}

} // namespace Zv::Simulator
