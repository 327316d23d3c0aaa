// The firmware's public settings interface, for PublicWmi.

#include "Shared/WMI/PublicWmi.h"

#include "Platform/Com/Bstr.h"
#include "Shared/Contract/ResultCode.h"
#include "Shared/WMI/ComApartment.h"
#include "Shared/WMI/FirmwareNames.h"
#include "Shared/WMI/WmiCall.h"

namespace Zv::Tessel::Server::Shared::WMI
{

namespace
{

constexpr LONG SemiSynchronous = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;

constexpr const char* MethodName = "SetBiosPublicWmi";

HRESULT PutText(IWbemClassObject& object, const wchar_t* property, const wchar_t* text)
{
    Variant value;
    value.SetText(text);
    return object.Put(property, 0, value.Address(), CIM_STRING);
}

} // namespace

int PublicWmi::SetBiosPublicWmi(bool setDefaults, const wchar_t* name, const wchar_t* value, const wchar_t* password,
                                Services::JsonDocument& response, const wchar_t* logContext) const
{
    const ClassLog log = Log(logContext);
    const ComApartment apartment{log, MethodName};

    int resultCode = Services::GeneralFailure;
    const ComPtr<IWbemServices> services = ConnectToWmi(SettingsNamespace, resultCode, logContext);
    if (!services)
    {
        return resultCode;
    }

    Variant path;
    ComPtr<IWbemClassObject> inParams;
    const wchar_t* const methodName = setDefaults ? SettingsDefaultsMethod : SettingsChangeMethod;
    if (FAILED(GetSettingInterfacePath(*services.Get(), path, logContext)) ||
        FAILED(SpawnMethodInput(*services.Get(), methodName, inParams, logContext)))
    {
        return resultCode;
    }

    if (!setDefaults)
    {
        if (FAILED(Checked(PutText(*inParams.Get(), L"Name", name), log, MethodName, L"IWbemClassObject->Put(name)")) ||
            FAILED(
                Checked(PutText(*inParams.Get(), L"Value", value), log, MethodName, L"IWbemClassObject->Put(value)")))
        {
            return resultCode;
        }
    }
    if (FAILED(Checked(PutText(*inParams.Get(), L"Password", password), log, MethodName,
                       L"IWbemClassObject->Put(password)")))
    {
        return resultCode;
    }

    const Bstr method{methodName};
    ComPtr<IWbemClassObject> outParams;
    HRESULT hr =
        services->ExecMethod(path.Text(), method.Get(), 0, nullptr, inParams.Get(), outParams.Receive(), nullptr);
    if (FAILED(Checked(hr, outParams.Get(), log, MethodName, L"IWbemServices->ExecMethod")))
    {
        return resultCode;
    }

    Variant verdict;
    hr = outParams->Get(L"Return", 0, verdict.Address(), nullptr, nullptr);
    if (FAILED(Checked(hr, log, MethodName, L"IWbemClassObject->Get(Return)")))
    {
        return resultCode;
    }
    verdict.ConvertTo(VT_UINT);
    response.AddMember(L"result", V_UINT(&verdict.Value()), response.GetAllocator());
    return Services::Success;
}

HRESULT PublicWmi::GetSettingInterfacePath(IWbemServices& services, Variant& path, const wchar_t* logContext) const
{
    const ClassLog log = Log(logContext);
    const Bstr className{SettingsClass};
    ComPtr<IEnumWbemClassObject> instances;
    HRESULT hr = services.CreateInstanceEnum(className.Get(), SemiSynchronous, nullptr, instances.Receive());
    hr = Checked(hr, instances.Get(), log, MethodName, L"IWbemServices->CreateInstanceEnum");
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> instance;
    ULONG returned = 0;
    hr = instances->Next(static_cast<LONG>(WBEM_INFINITE), 1, instance.Receive(), &returned);
    hr = Checked(hr, instance.Get(), log, MethodName, L"IEnumWbemClassObject->Next");
    if (FAILED(hr))
    {
        return hr;
    }
    return Checked(instance->Get(L"__PATH", 0, path.Address(), nullptr, nullptr), log, MethodName,
                   L"IWbemClassObject->Get(path)");
}

HRESULT PublicWmi::SpawnMethodInput(IWbemServices& services, const wchar_t* methodName,
                                    ComPtr<IWbemClassObject>& inParams, const wchar_t* logContext) const
{
    const ClassLog log = Log(logContext);
    const Bstr className{SettingsClass};
    ComPtr<IWbemClassObject> settingsClass;
    HRESULT hr = services.GetObject(className.Get(), 0, nullptr, settingsClass.Receive(), nullptr);
    hr = Checked(hr, settingsClass.Get(), log, MethodName, L"IWbemService->GetObject");
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> inSignature;
    hr = settingsClass->GetMethod(methodName, 0, inSignature.Receive(), nullptr);
    hr = Checked(hr, inSignature.Get(), log, MethodName, L"IWbemClassObject->GetMethod");
    if (FAILED(hr))
    {
        return hr;
    }
    hr = inSignature->SpawnInstance(0, inParams.Receive());
    return Checked(hr, inParams.Get(), log, MethodName, L"IWbemClassObject->SpawnInstance");
}

} // namespace Zv::Tessel::Server::Shared::WMI
