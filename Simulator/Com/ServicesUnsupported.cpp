// The calls of IWbemServices that a simulated machine refuses: writing, mostly.
#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Com/Services.h"

namespace Zv::Simulator
{

HRESULT Services::QueryObjectSink(LONG, IWbemObjectSink**)
{
    return Status(WBEM_E_PROVIDER_NOT_CAPABLE);
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

} // namespace Zv::Simulator
