// IWbemServices: a connection to one namespace.
#pragma once

#include "Simulator/Com/ClientSecurity.h"
#include "Simulator/Com/ComObject.h"
#include "Simulator/Com/Enumerator.h"

#include <wbemcli.h>

#include <functional>
#include <memory>
#include <string_view>

namespace Zv::Simulator
{

[[nodiscard]] inline std::wstring_view View(BSTR text) noexcept
{
    return text == nullptr ? std::wstring_view{} : std::wstring_view{text};
}

// WBEM_E_INVALID_PARAMETER when one is missing, WBEM_E_INVALID_QUERY_TYPE for another language than WQL.
[[nodiscard]] HRESULT CheckLanguage(BSTR language, BSTR query) noexcept;

// Safe on several threads. Writing to the machine is refused as by a provider that only reads.
class Services final : public ComObject<IWbemServices, ObjectKind::Services>
{
public:
    // The namespace belongs to the core's description.
    Services(CorePtr core, const Namespace& nameSpace);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;

    HRESULT STDMETHODCALLTYPE OpenNamespace(BSTR path, LONG flags, IWbemContext* context, IWbemServices** opened,
                                            IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG flags, IWbemObjectSink** sink) override;
    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                        IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR path, LONG flags, IWbemContext* context,
                                             IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject* object, LONG flags, IWbemContext* context,
                                       IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject* object, LONG flags, IWbemContext* context,
                                            IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE DeleteClass(BSTR name, LONG flags, IWbemContext* context,
                                          IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(BSTR name, LONG flags, IWbemContext* context,
                                               IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE CreateClassEnum(BSTR superclass, LONG flags, IWbemContext* context,
                                              IEnumWbemClassObject** enumerator) override;
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(BSTR superclass, LONG flags, IWbemContext* context,
                                                   IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject* instance, LONG flags, IWbemContext* context,
                                          IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* instance, LONG flags, IWbemContext* context,
                                               IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE DeleteInstance(BSTR path, LONG flags, IWbemContext* context,
                                             IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR path, LONG flags, IWbemContext* context,
                                                  IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(BSTR className, LONG flags, IWbemContext* context,
                                                 IEnumWbemClassObject** enumerator) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR className, LONG flags, IWbemContext* context,
                                                      IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE ExecQuery(BSTR language, BSTR query, LONG flags, IWbemContext* context,
                                        IEnumWbemClassObject** enumerator) override;
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(BSTR language, BSTR query, LONG flags, IWbemContext* context,
                                             IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(BSTR language, BSTR query, LONG flags, IWbemContext* context,
                                                    IEnumWbemClassObject** enumerator) override;
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(BSTR language, BSTR query, LONG flags, IWbemContext* context,
                                                         IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE ExecMethod(BSTR path, BSTR method, LONG flags, IWbemContext* context,
                                         IWbemClassObject* in, IWbemClassObject** out,
                                         IWbemCallResult** callResult) override;
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR path, BSTR method, LONG flags, IWbemContext* context,
                                              IWbemClassObject* in, IWbemObjectSink* sink) override;

private:
    HRESULT Enumerate(Site site, std::wstring_view about, LONG flags, IEnumWbemClassObject** enumerator,
                      const std::function<ResultSetPtr()>& run);
    HRESULT RunOrStart(LONG flags, IWbemClassObject** object, IWbemCallResult** callResult,
                       const std::function<HRESULT(ObjectPtr&)>& run);
    HRESULT Subscribe(Site site, BSTR language, BSTR query, LONG flags, bool valid,
                      const std::function<void(ClassPtr, WqlFilter)>& subscribe);
    HRESULT Start(Site site, std::wstring_view about, LONG flags, LONG known, IWbemObjectSink* sink,
                  const PendingCalls::Body& body);
    HRESULT StartEnumeration(Site site, std::wstring_view about, LONG flags, LONG known, IWbemObjectSink* sink,
                             std::function<ResultSetPtr(Core&)> run);

    const Namespace& m_nameSpace;
    const std::shared_ptr<Blanket> m_blanket = std::make_shared<Blanket>(GetCore().description.security);
};

} // namespace Zv::Simulator
