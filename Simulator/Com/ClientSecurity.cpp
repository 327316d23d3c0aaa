#include "Simulator/Com/ClientSecurity.h"

#include <string>

namespace Zv::Simulator
{

using Tessel::Server::Shared::LockGuard;

namespace
{

template <class T>
void Store(T* target, T value) noexcept
{
    if (target != nullptr)
    {
        *target = value;
    }
}

} // namespace

ClientSecurity::ClientSecurity(CorePtr core, IUnknown& proxy, std::shared_ptr<Blanket> blanket)
    : ComObject{std::move(core)},
      m_proxy{&proxy},
      m_blanket{std::move(blanket)}
{
    proxy.AddRef();
}

HRESULT ClientSecurity::QueryInterface(REFIID iid, void** result)
{
    return Gate().Call(Site::SecurityQueryInterface, {}, [&]() -> HRESULT {
        if (result == nullptr)
        {
            return E_POINTER;
        }
        if (iid != IID_IClientSecurity)
        {
            return m_proxy->QueryInterface(iid, result);
        }
        *result = static_cast<IClientSecurity*>(this);
        AddRef();
        return S_OK;
    });
}

HRESULT ClientSecurity::QueryBlanket(IUnknown* proxy, DWORD* authentication, DWORD* authorization, OLECHAR** principal,
                                     DWORD* authenticationLevel, DWORD* impersonationLevel, void** identity,
                                     DWORD* capabilities)
{
    return Gate().Call(Site::SecurityQueryBlanket, {}, [&]() -> HRESULT {
        if (proxy == nullptr)
        {
            return E_INVALIDARG;
        }
        const LockGuard guard{m_blanket->lock};
        Store(authentication, m_blanket->authentication);
        Store(authorization, m_blanket->authorization);
        Store<OLECHAR*>(principal, nullptr);
        Store(authenticationLevel, m_blanket->authenticationLevel);
        Store(impersonationLevel, m_blanket->impersonationLevel);
        Store<void*>(identity, nullptr);
        Store(capabilities, m_blanket->capabilities);
        return S_OK;
    });
}

HRESULT ClientSecurity::SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization, OLECHAR* principal,
                                   DWORD authenticationLevel, DWORD impersonationLevel, void* identity,
                                   DWORD capabilities)
{
    const auto detail = [&] {
        return std::to_wstring(authentication) + L", " + std::to_wstring(authorization) + L", " +
               (principal == nullptr ? L"null" : principal) + L", " + std::to_wstring(authenticationLevel) + L", " +
               std::to_wstring(impersonationLevel) + L", " + (identity == nullptr ? L"null" : L"given") + L", " +
               std::to_wstring(capabilities);
    };
    return Gate().Call(Site::SecuritySetBlanket, {}, detail, [&]() -> HRESULT {
        if (proxy == nullptr)
        {
            return E_INVALIDARG;
        }
        const LockGuard guard{m_blanket->lock};
        m_blanket->authentication = authentication;
        m_blanket->authorization = authorization;
        m_blanket->authenticationLevel = authenticationLevel;
        m_blanket->impersonationLevel = impersonationLevel;
        m_blanket->capabilities = capabilities;
        return S_OK;
    });
}

HRESULT ClientSecurity::CopyProxy(IUnknown* proxy, IUnknown** copy)
{
    return Gate().Call(Site::SecurityCopyProxy, {}, [&]() -> HRESULT {
        if (proxy == nullptr || copy == nullptr)
        {
            return E_INVALIDARG;
        }
        proxy->AddRef();
        *copy = proxy;
        return S_OK;
    });
}

} // namespace Zv::Simulator
