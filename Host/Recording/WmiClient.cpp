#include "Host/Recording/WmiClient.h"

#include "Host/Explain/HResults.h"
#include "Host/Explain/ResultCodes.h"
#include "Host/Text/Failure.h"
#include "Platform/Windows/Utf8.h"

#include "Platform/Com/Bstr.h"
#include "Platform/Com/SafeArray.h"
#include "Platform/Com/Variant.h"
#include "Shared/WMI/WmiCall.h"

namespace Zv::Host
{

using Tessel::Server::Shared::WMI::Bstr;
using Tessel::Server::Shared::WMI::ComPtr;
using Tessel::Server::Shared::WMI::ReceivedBstr;
using Tessel::Server::Shared::WMI::SafeArray;
using Tessel::Server::Shared::WMI::Status;
using Tessel::Server::Shared::WMI::Variant;

namespace
{

HRESULT SetBlanket(IUnknown* proxy)
{
    return CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                             RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
}

// An enumerator that is no proxy needs none.
void SetBlanketOf(const ComPtr<IEnumWbemClassObject>& enumerator)
{
    if (enumerator)
    {
        static_cast<void>(SetBlanket(enumerator.Get()));
    }
}

[[noreturn]] void Fail(const std::string& what, HRESULT status)
{
    throw Failure{ExitCode::CommandFailed, what + ": " + StatusText(status)};
}

} // namespace

std::string StatusText(HRESULT status)
{
    const HResultInfo* const info = FindHResult(static_cast<unsigned int>(status));
    return HexCode(status) + (info == nullptr ? "" : std::string{" ("} + info->meaning + ')');
}

std::wstring TextOf(IWbemClassObject& object, const wchar_t* property)
{
    Variant value;
    const HRESULT hr = object.Get(property, 0, value.Address(), nullptr, nullptr);
    return SUCCEEDED(hr) && value.Text() != nullptr ? value.Text() : std::wstring{};
}

std::vector<std::wstring> Texts(SAFEARRAY* array)
{
    std::vector<std::wstring> texts;
    const LONG count = array == nullptr ? 0 : static_cast<LONG>(array->rgsabound[0].cElements);
    for (LONG i = 0; i < count; ++i)
    {
        LONG index = array->rgsabound[0].lLbound + i;
        ReceivedBstr text;
        if (SUCCEEDED(SafeArrayGetElement(array, &index, text.Receive())) && text.Get() != nullptr)
        {
            texts.emplace_back(text.Get(), SysStringLen(text.Get()));
        }
    }
    return texts;
}

std::vector<std::wstring> NamesOf(IWbemClassObject& object, LONG flags)
{
    SAFEARRAY* names = nullptr;
    const HRESULT hr = object.GetNames(nullptr, flags, nullptr, &names);
    const SafeArray owner{names};
    return SUCCEEDED(hr) ? Texts(names) : std::vector<std::wstring>{};
}

WmiClient::WmiClient(Simulator::Machine* machine, const std::wstring& nameSpace)
{
    ComPtr<IWbemLocator> locator;
    HRESULT hr = CreateWmiObject(machine, CLSID_WbemLocator, CLSCTX_INPROC_SERVER, locator);
    if (SUCCEEDED(hr))
    {
        hr = locator->ConnectServer(Bstr{nameSpace.c_str()}.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                    m_services.Receive());
    }
    if (SUCCEEDED(hr))
    {
        hr = SetBlanket(m_services.Get());
    }
    if (FAILED(hr))
    {
        Fail("cannot connect to " + ToUtf8(nameSpace), hr);
    }
}

ComPtr<IWbemClassObject> WmiClient::FindClass(const std::wstring& name) const
{
    ComPtr<IWbemClassObject> found;
    const HRESULT hr = m_services->GetObject(Bstr{name.c_str()}.Get(), 0, nullptr, found.Receive(), nullptr);
    if (FAILED(hr) && hr != Status(WBEM_E_NOT_FOUND) && hr != Status(WBEM_E_INVALID_CLASS))
    {
        Fail("cannot read the class " + ToUtf8(name), hr);
    }
    return found;
}

HRESULT WmiClient::Query(const std::wstring& query, ComPtr<IEnumWbemClassObject>& instances) const
{
    const HRESULT hr =
        m_services->ExecQuery(Bstr{L"WQL"}.Get(), Bstr{query.c_str()}.Get(),
                              WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr, instances.Receive());
    SetBlanketOf(instances);
    return SUCCEEDED(hr) && !instances ? E_FAIL : hr;
}

std::vector<std::wstring> WmiClient::ClassNames() const
{
    std::vector<std::wstring> names;
    ComPtr<IEnumWbemClassObject> classes;
    HRESULT hr = m_services->CreateClassEnum(nullptr, WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr,
                                             classes.Receive());
    SetBlanketOf(classes);
    while (SUCCEEDED(hr) && classes)
    {
        ComPtr<IWbemClassObject> found;
        ULONG count = 0;
        hr = classes->Next(static_cast<LONG>(WBEM_INFINITE), 1, found.Receive(), &count);
        if (FAILED(hr) || !found)
        {
            break;
        }
        std::wstring name = TextOf(*found.Get(), L"__CLASS");
        if (!name.starts_with(L"__"))
        {
            names.push_back(std::move(name));
        }
    }
    return names;
}

std::vector<std::wstring> WmiClient::PropertyNames(const std::wstring& className) const
{
    const ComPtr<IWbemClassObject> found = FindClass(className);
    return found ? NamesOf(*found.Get(), WBEM_FLAG_NONSYSTEM_ONLY) : std::vector<std::wstring>{};
}

} // namespace Zv::Host
