#include "Shared/WMI/WmiConnection.h"

#include "Shared/WMI/WmiCall.h"

namespace Zv::Tessel::Server::Shared::WMI
{

void JoinMultithreadedApartment(const ClassLog& log, const char* method)
{
    const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (FAILED(hr))
    {
        log.CallFailed(method, L"CoInitializeEx", hr);
    }
}

void SetProcessSecurity(const ClassLog& log, const char* method)
{
    const HRESULT hr = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                            RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (FAILED(hr) && hr != RPC_E_TOO_LATE) // the host has set its own security: fine
    {
        log.CallFailed(method, L"CoInitializeSecurity", hr);
    }
}

HRESULT CreateLocator(const ClassLog& log, const char* method, ComPtr<IWbemLocator>& locator)
{
    const HRESULT hr =
        CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, locator.ReceiveVoid());
    return Checked(hr, locator.Get(), log, method, L"CoCreateInstance");
}

HRESULT SetServicesBlanket(const ClassLog& log, const char* method, IWbemServices& services)
{
    const HRESULT hr = CoSetProxyBlanket(&services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                         RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    return Checked(hr, log, method, L"CoSetProxyBlanket");
}

HRESULT ConnectServer(IWbemLocator& locator, const Bstr& nameSpace, ComPtr<IWbemServices>& services)
{
    return locator.ConnectServer(nameSpace.Get(), nullptr, nullptr, // user, password: the caller's
                                 nullptr, 0,                        // locale, flags: wait until connected
                                 nullptr, nullptr,                  // authority, context
                                 services.Receive());
}

} // namespace Zv::Tessel::Server::Shared::WMI
