#include "Simulator/Com/CallResult.h"

#include "Simulator/Com/ClassObject.h"

namespace Zv::Simulator
{

HRESULT CallResult::QueryInterface(REFIID iid, void** result)
{
    return Query(Site::CallResultQueryInterface, iid, result, IID_IWbemCallResult);
}

HRESULT CallResult::GetResultObject(LONG timeout, IWbemClassObject** object)
{
    return Gate().Call(Site::CallResultGetResultObject, {}, [&]() -> HRESULT {
        if (object == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *object = nullptr;
        HRESULT status = S_OK;
        ObjectPtr result;
        if (!m_call->WaitForEnd(static_cast<DWORD>(timeout), status, result))
        {
            return Status(WBEM_S_TIMEDOUT);
        }
        if (SUCCEEDED(status) && result != nullptr)
        {
            *object = Present(SharedCore(), std::move(result)).Detach();
        }
        return status;
    });
}

HRESULT CallResult::GetResultString(LONG, BSTR*)
{
    return Status(WBEM_E_INVALID_OPERATION);
}

HRESULT CallResult::GetResultServices(LONG, IWbemServices**)
{
    return Status(WBEM_E_INVALID_OPERATION);
}

HRESULT CallResult::GetCallStatus(LONG timeout, LONG* status)
{
    return Gate().Call(Site::CallResultGetCallStatus, {}, [&]() -> HRESULT {
        if (status == nullptr)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        HRESULT ended = S_OK;
        ObjectPtr result;
        if (!m_call->WaitForEnd(static_cast<DWORD>(timeout), ended, result))
        {
            return Status(WBEM_S_TIMEDOUT);
        }
        *status = ended;
        return S_OK;
    });
}

} // namespace Zv::Simulator
