// What CoSetProxyBlanket finds on the objects that are proxies on a real machine.
#pragma once

#include "Simulator/Com/ComObject.h"

#include <objidl.h>
#include <wbemcli.h>

#include <memory>

namespace Zv::Simulator
{

// The security settings of one proxy, which outlive the interface that they are set through.
struct Blanket
{
    // A proxy starts with the process's own settings.
    explicit Blanket(const ProcessSecurity& process) noexcept : impersonationLevel{process.impersonation} {}

    // WMI acts as its client; an identity alone opens nothing.
    [[nodiscard]] HRESULT CheckAccess()
    {
        const Tessel::Server::Shared::LockGuard held{lock};
        return impersonationLevel < RPC_C_IMP_LEVEL_IMPERSONATE ? Status(WBEM_E_ACCESS_DENIED) : S_OK;
    }

    Tessel::Server::Shared::Lock lock;
    // All guarded by lock.
    DWORD authentication = RPC_C_AUTHN_WINNT;
    DWORD authorization = RPC_C_AUTHZ_NONE;
    DWORD authenticationLevel = RPC_C_AUTHN_LEVEL_CONNECT;
    DWORD impersonationLevel;
    DWORD capabilities = EOAC_NONE;
};

// An interface pointer with a count of its own, as a proxy manager hands it out; its IUnknown is the proxy's.
class ClientSecurity final : public ComObject<IClientSecurity, ObjectKind::ClientSecurity>
{
public:
    // Keeps a reference on the proxy.
    ClientSecurity(CorePtr core, IUnknown& proxy, std::shared_ptr<Blanket> blanket);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    HRESULT STDMETHODCALLTYPE QueryBlanket(IUnknown* proxy, DWORD* authentication, DWORD* authorization,
                                           OLECHAR** principal, DWORD* authenticationLevel, DWORD* impersonationLevel,
                                           void** identity, DWORD* capabilities) override;
    HRESULT STDMETHODCALLTYPE SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, OLECHAR* principal,
                                         DWORD authenticationLevel, DWORD impersonationLevel, void* identity,
                                         DWORD capabilities) override;
    HRESULT STDMETHODCALLTYPE CopyProxy(IUnknown* proxy, IUnknown** copy) override;

private:
    ComPtr<IUnknown> m_proxy;
    std::shared_ptr<Blanket> m_blanket;
};

// QueryInterface of a proxy: its own interface, IUnknown and IClientSecurity.
template <class Interface>
HRESULT QueryProxy(const ObjectGate& gate, const CorePtr& core, Site site, Interface& proxy,
                   const std::shared_ptr<Blanket>& blanket, REFIID wanted, void** result)
{
    return gate.Call(site, wanted == IID_IClientSecurity ? L"IClientSecurity" : L"", [&]() -> HRESULT {
        if (result == nullptr)
        {
            return E_POINTER;
        }
        *result = nullptr;
        if (wanted == IID_IClientSecurity)
        {
            *result = MakeObject<ClientSecurity>(core, proxy, blanket).Detach();
            return S_OK;
        }
        if (wanted != IID_IUnknown && wanted != __uuidof(Interface))
        {
            return E_NOINTERFACE;
        }
        *result = &proxy;
        proxy.AddRef();
        return S_OK;
    });
}

} // namespace Zv::Simulator
