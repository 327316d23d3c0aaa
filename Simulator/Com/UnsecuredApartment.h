// IUnsecuredApartment and the stubs that it makes of a client's sinks.
#pragma once

#include "Simulator/Com/ClientSecurity.h"
#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

#include <memory>

namespace Zv::Simulator
{

class UnsecuredApartment final : public ComObject<IUnsecuredApartment, ObjectKind::UnsecuredApartment>
{
public:
    explicit UnsecuredApartment(CorePtr core) : ComObject{std::move(core)} {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE CreateObjectStub(IUnknown* object, IUnknown** stub) override;

private:
    const std::shared_ptr<Blanket> m_blanket = std::make_shared<Blanket>(GetCore().description.security);
};

// Passes every call on to the client's sink, which it keeps a reference on. A C++ exception out of the sink ends here
// as it would in another process: as RPC_E_SERVERFAULT. The sink is out of reach once its apartment is gone.
class ObjectStub final : public ComObject<IWbemObjectSink, ObjectKind::ObjectStub>
{
public:
    ObjectStub(CorePtr core, ComPtr<IWbemObjectSink> sink);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT status, BSTR text, IWbemClassObject* object) override;

private:
    const ComPtr<IWbemObjectSink> m_sink;
};

} // namespace Zv::Simulator
