// The calls of IWbemServices that a simulated machine refuses: writing, and the asynchronous twins of calls that
// nobody needs asynchronously.
#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Com/Services.h"

namespace Zv::Simulator
{

HRESULT Services::QueryObjectSink(LONG, IWbemObjectSink**)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

HRESULT Services::GetObjectAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

HRESULT Services::PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
{
    return Status(WBEM_E_ACCESS_DENIED);
}

HRESULT Services::PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_ACCESS_DENIED);
}

HRESULT Services::DeleteClass(BSTR, LONG, IWbemContext*, IWbemCallResult**)
{
    return Status(WBEM_E_ACCESS_DENIED);
}

HRESULT Services::DeleteClassAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_ACCESS_DENIED);
}

HRESULT Services::CreateClassEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

HRESULT Services::PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT Services::PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT Services::DeleteInstance(BSTR, LONG, IWbemContext*, IWbemCallResult**)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT Services::DeleteInstanceAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
}

HRESULT Services::CreateInstanceEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

HRESULT Services::ExecQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

HRESULT Services::ExecNotificationQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

HRESULT Services::ExecMethodAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*)
{
    return Status(WBEM_E_NOT_SUPPORTED);
}

} // namespace Zv::Simulator
