// The asynchronous calls of IWbemServices: what is wrong with the call itself is answered at once, all else goes to
// the sink.
#include "Simulator/Com/NamespaceCalls.h"
#include "Simulator/Com/QueryRunner.h"
#include "Simulator/Com/Services.h"

#include <string>

namespace Zv::Simulator
{

namespace
{

constexpr LONG AnyAsyncFlags = Flags(WBEM_FLAG_SEND_STATUS, WBEM_FLAG_USE_AMENDED_QUALIFIERS, WBEM_FLAG_DIRECT_READ);

} // namespace

HRESULT Services::Start(Site site, std::wstring_view about, LONG flags, LONG known, IWbemObjectSink* sink,
                        const PendingCalls::Body& body)
{
    return Gate().Call(
        site, about, [&] { return std::to_wstring(flags); },
        [&]() -> HRESULT {
            if (sink == nullptr || (flags & ~known) != 0)
            {
                return Status(WBEM_E_INVALID_PARAMETER);
            }
            GetCore().calls.Start(std::make_shared<PendingCall>(sink), body);
            return S_OK;
        });
}

// The bodies outlive the connection: they keep the machine, which owns the namespace.
HRESULT Services::StartEnumeration(Site site, std::wstring_view about, LONG flags, LONG known, IWbemObjectSink* sink,
                                   std::function<ResultSetPtr(Core&)> run)
{
    return Start(site, about, flags, known, sink,
                 [core = SharedCore(), run = std::move(run)](PendingCall& call, ObjectPtr&) {
                     const ResultSetPtr results = run(*core);
                     call.Deliver(core, results->objects);
                     return results->status;
                 });
}

HRESULT Services::GetObjectAsync(BSTR path, LONG flags, IWbemContext*, IWbemObjectSink* sink)
{
    return Start(Site::ServicesGetObjectAsync, View(path), flags, AnyAsyncFlags, sink,
                 [core = SharedCore(), &nameSpace = m_nameSpace, path = std::wstring{View(path)}](PendingCall& call,
                                                                                                  ObjectPtr&) {
                     ObjectPtr found;
                     const HRESULT hr = FindObject(*core, nameSpace, path, found);
                     call.Deliver(core, {&found, SUCCEEDED(hr) ? std::size_t{1} : 0});
                     return hr;
                 });
}

HRESULT Services::CreateClassEnumAsync(BSTR superclass, LONG flags, IWbemContext*, IWbemObjectSink* sink)
{
    return StartEnumeration(Site::ServicesCreateClassEnumAsync, View(superclass), flags,
                            AnyAsyncFlags | WBEM_FLAG_SHALLOW, sink,
                            [&nameSpace = m_nameSpace, name = std::wstring{View(superclass)}](Core&) {
                                return ClassesOf(nameSpace, name);
                            });
}

HRESULT Services::CreateInstanceEnumAsync(BSTR className, LONG flags, IWbemContext*, IWbemObjectSink* sink)
{
    if (View(className).empty())
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    return StartEnumeration(Site::ServicesCreateInstanceEnumAsync, className, flags, AnyAsyncFlags | WBEM_FLAG_SHALLOW,
                            sink, [&nameSpace = m_nameSpace, name = std::wstring{className}](Core& core) {
                                return InstancesOf(core, nameSpace, name);
                            });
}

HRESULT Services::ExecQueryAsync(BSTR language, BSTR query, LONG flags, IWbemContext*, IWbemObjectSink* sink)
{
    if (const HRESULT hr = CheckLanguage(language, query); FAILED(hr))
    {
        return hr;
    }
    const bool located = (flags & WBEM_FLAG_ENSURE_LOCATABLE) != 0;
    return StartEnumeration(Site::ServicesExecQueryAsync, query, flags, AnyAsyncFlags | WBEM_FLAG_ENSURE_LOCATABLE,
                            sink, [&nameSpace = m_nameSpace, text = std::wstring{query}, located](Core& core) {
                                return RunQuery(core, nameSpace, text, located);
                            });
}

HRESULT Services::ExecMethodAsync(BSTR path, BSTR method, LONG flags, IWbemContext*, IWbemClassObject* in,
                                  IWbemObjectSink* sink)
{
    if (View(path).empty() || View(method).empty())
    {
        return Status(WBEM_E_INVALID_PARAMETER);
    }
    return Start(Site::ServicesExecMethodAsync, method, flags, Flags(WBEM_FLAG_SEND_STATUS), sink,
                 [core = SharedCore(), &nameSpace = m_nameSpace, path = std::wstring{path},
                  method = std::wstring{method}, parameters = Parameters{in}](PendingCall& call, ObjectPtr&) {
                     ObjectPtr out;
                     const HRESULT hr = InvokeMethod(*core, nameSpace, path, method, parameters, out);
                     call.Deliver(core, {&out, out == nullptr ? std::size_t{0} : 1});
                     return hr;
                 });
}

HRESULT Services::CancelAsyncCall(IWbemObjectSink* sink)
{
    return Gate().Call(Site::ServicesCancelAsyncCall, {}, [&]() -> HRESULT {
        if (sink == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        const HRESULT events = GetCore().events->Cancel(*sink);
        return GetCore().calls.Cancel(*sink) ? S_OK : events;
    });
}

} // namespace Zv::Simulator
