#include "Simulator/Com/UnsecuredApartment.h"

namespace Zv::Simulator
{

HRESULT UnsecuredApartment::QueryInterface(REFIID iid, void** result)
{
    return QueryProxy<IUnsecuredApartment>(Gate(), SharedCore(), Site::ApartmentQueryInterface, *this, m_blanket, iid,
                                           result);
}

HRESULT UnsecuredApartment::CreateObjectStub(IUnknown* object, IUnknown** stub)
{
    return Gate().Call(Site::ApartmentCreateObjectStub, {}, [&]() -> HRESULT {
        if (object == nullptr || stub == nullptr)
        {
            return E_POINTER;
        }
        *stub = nullptr;
        ComPtr<IWbemObjectSink> sink;
        if (const HRESULT hr = object->QueryInterface(IID_IWbemObjectSink, sink.ReceiveVoid()); FAILED(hr))
        {
            return hr;
        }
        *stub = MakeObject<ObjectStub>(SharedCore(), std::move(sink)).Detach();
        return S_OK;
    });
}

ObjectStub::ObjectStub(CorePtr core, ComPtr<IWbemObjectSink> sink) : ComObject{std::move(core)}, m_sink{std::move(sink)}
{
}

HRESULT ObjectStub::QueryInterface(REFIID iid, void** result)
{
    return Query(Site::StubQueryInterface, iid, result, IID_IWbemObjectSink);
}

HRESULT ObjectStub::Indicate(LONG count, IWbemClassObject** objects)
{
    try
    {
        return Gate().IsConnected() ? m_sink->Indicate(count, objects) : CO_E_OBJNOTCONNECTED;
    }
    catch (...)
    {
        return RPC_E_SERVERFAULT;
    }
}

HRESULT ObjectStub::SetStatus(LONG flags, HRESULT status, BSTR text, IWbemClassObject* object)
{
    try
    {
        return Gate().IsConnected() ? m_sink->SetStatus(flags, status, text, object) : CO_E_OBJNOTCONNECTED;
    }
    catch (...)
    {
        return RPC_E_SERVERFAULT;
    }
}

} // namespace Zv::Simulator
