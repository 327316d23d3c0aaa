// WMI as the host itself reads it, not through the module.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Simulator/Machine.h"

#include <windows.h>

#include <wbemcli.h>

#include <string>
#include <vector>

namespace Zv::Host
{

// "0x80041003 (access denied)"
[[nodiscard]] std::string StatusText(HRESULT status);

// The texts of an array; null has none.
[[nodiscard]] std::vector<std::wstring> Texts(SAFEARRAY* array);
// Of an object's properties; the flags are those of IWbemClassObject::GetNames. Empty where the system does not tell.
[[nodiscard]] std::vector<std::wstring> NamesOf(IWbemClassObject& object, LONG flags);
// Of a system property, up to its first zero character: some systems leave several behind it.
[[nodiscard]] std::wstring TextOf(IWbemClassObject& object, const wchar_t* property);

// An object of WMI's, of this machine (null) or of a simulated one.
template <class Interface>
[[nodiscard]] HRESULT CreateWmiObject(Simulator::Machine* machine, REFCLSID classId, DWORD context,
                                      Tessel::Server::Shared::WMI::ComPtr<Interface>& object)
{
    return machine != nullptr
               ? machine->CreateInstance(classId, nullptr, context, __uuidof(Interface), object.ReceiveVoid())
               : CoCreateInstance(classId, nullptr, context, __uuidof(Interface), object.ReceiveVoid());
}

// A namespace of this machine, or of a simulated one. The thread must be in COM.
class WmiClient
{
public:
    // Null: this machine. Throws Failure(CommandFailed).
    WmiClient(Simulator::Machine* machine, const std::wstring& nameSpace);

    // Empty when there is no such class. Throws Failure(CommandFailed).
    [[nodiscard]] Tessel::Server::Shared::WMI::ComPtr<IWbemClassObject> FindClass(const std::wstring& name) const;

    // Calls receive(IWbemClassObject&) for each instance until it returns false. Returns the status that ended it: a
    // success, or what failed.
    template <class Receive>
    [[nodiscard]] HRESULT ForEachInstance(const std::wstring& className, Receive receive) const
    {
        Tessel::Server::Shared::WMI::ComPtr<IEnumWbemClassObject> instances;
        HRESULT hr = Query(L"SELECT * FROM " + className, instances);
        while (SUCCEEDED(hr))
        {
            Tessel::Server::Shared::WMI::ComPtr<IWbemClassObject> instance;
            ULONG count = 0;
            hr = instances->Next(static_cast<LONG>(WBEM_INFINITE), 1, instance.Receive(), &count);
            if (FAILED(hr) || !instance)
            {
                break;
            }
            if (!receive(*instance.Get()))
            {
                break;
            }
        }
        return hr;
    }

    // Of the namespace, those of the system aside, and of a class. Empty where the system does not tell.
    [[nodiscard]] std::vector<std::wstring> ClassNames() const;
    [[nodiscard]] std::vector<std::wstring> PropertyNames(const std::wstring& className) const;

private:
    [[nodiscard]] HRESULT Query(const std::wstring& query,
                                Tessel::Server::Shared::WMI::ComPtr<IEnumWbemClassObject>& instances) const;

    Tessel::Server::Shared::WMI::ComPtr<IWbemServices> m_services;
};

} // namespace Zv::Host
