// IWbemCallResult: where the result of a semisynchronous call is fetched.
#pragma once

#include "Simulator/Com/ComObject.h"

#include <wbemcli.h>

namespace Zv::Simulator
{

// Safe on several threads.
class CallResult final : public ComObject<IWbemCallResult, ObjectKind::CallResult>
{
public:
    CallResult(CorePtr core, PendingCallPtr call) : ComObject{std::move(core)}, m_call{std::move(call)} {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE GetResultObject(LONG timeout, IWbemClassObject** object) override;
    // Of calls that nobody makes semisynchronously here.
    HRESULT STDMETHODCALLTYPE GetResultString(LONG timeout, BSTR* text) override;
    HRESULT STDMETHODCALLTYPE GetResultServices(LONG timeout, IWbemServices** services) override;
    HRESULT STDMETHODCALLTYPE GetCallStatus(LONG timeout, LONG* status) override;

private:
    const PendingCallPtr m_call;
};

} // namespace Zv::Simulator
