#include "Simulator/Com/Locator.h"

#include "Simulator/Cim/ObjectPath.h"
#include "Simulator/Com/ConnectNamespace.h"
#include "Simulator/Com/Services.h"

namespace Zv::Simulator
{

HRESULT Locator::QueryInterface(REFIID iid, void** result)
{
    return Query(Site::LocatorQueryInterface, iid, result, IID_IWbemLocator);
}

HRESULT Locator::ConnectServer(BSTR path, BSTR user, BSTR password, BSTR, LONG flags, BSTR, IWbemContext*,
                               IWbemServices** services)
{
    return Gate().Call(Site::LocatorConnectServer, path == nullptr ? L"" : path, [&]() -> HRESULT {
        if (path == nullptr || services == nullptr || (flags & ~Flags(WBEM_FLAG_CONNECT_USE_MAX_WAIT)) != 0)
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        *services = nullptr;
        if (std::wstring_view{path}.starts_with(L"\\\\\\")) // no computer has such a name
        {
            return Status(WBEM_E_INVALID_PARAMETER);
        }
        if (user != nullptr || password != nullptr) // a local connection is the caller's own
        {
            return Status(WBEM_E_LOCAL_CREDENTIALS);
        }
        return ConnectNamespace(SharedCore(), path, services);
    });
}

HRESULT ConnectNamespace(const CorePtr& core, std::wstring_view path, IWbemServices** services)
{
    const std::optional<NamespaceName> name = ParseNamespace(path);
    if (!name)
    {
        return Status(WBEM_E_INVALID_NAMESPACE);
    }
    if (!name->server.empty() && !EqualNoCase(name->server, core->description.server))
    {
        return HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);
    }
    const Namespace* const nameSpace = core->description.FindNamespace(name->path);
    if (nameSpace == nullptr)
    {
        return Status(WBEM_E_INVALID_NAMESPACE);
    }
    *services = MakeObject<Services>(core, *nameSpace).Detach();
    return S_OK;
}

} // namespace Zv::Simulator
