// The least that a program which asks WMI can be: prints one property of all instances of a class. With the name of a
// DLL, it loads that first.
//   usage: PlainClient CLASS PROPERTY [DLL]

#include "Platform/Com/Bstr.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Com/Variant.h"

#include <windows.h>

#include <wbemcli.h>

#include <string>

namespace
{

using namespace Zv::Tessel::Server::Shared::WMI;

ComPtr<IEnumWbemClassObject> Ask(const std::wstring& query)
{
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    ComPtr<IEnumWbemClassObject> instances;
    const Bstr nameSpace{L"ROOT\\CIMV2"};
    const Bstr language{L"WQL"};
    const Bstr text{query.c_str()};
    if (SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                   locator.ReceiveVoid())) &&
        SUCCEEDED(locator->ConnectServer(nameSpace.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                         services.Receive())))
    {
        services->ExecQuery(language.Get(), text.Get(), WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr,
                            instances.Receive());
    }
    return instances;
}

// Whether there was an instance.
bool Print(IEnumWbemClassObject& instances, const wchar_t* property)
{
    HANDLE const output = GetStdHandle(STD_OUTPUT_HANDLE);
    for (bool any = false;; any = true)
    {
        ComPtr<IWbemClassObject> instance;
        ULONG returned = 0;
        if (instances.Next(static_cast<LONG>(WBEM_INFINITE), 1, instance.Receive(), &returned) != S_OK)
        {
            return any;
        }
        Variant value;
        instance->Get(property, 0, value.Address(), nullptr, nullptr);
        value.ConvertTo(VT_BSTR);
        const std::wstring line = std::wstring{value.Text()} + L'\n';
        DWORD written = 0;
        WriteFile(output, line.data(), static_cast<DWORD>(line.size() * sizeof(wchar_t)), &written, nullptr);
    }
}

} // namespace

extern "C" int wmain(int count, wchar_t** arguments)
{
    if (count < 3 || (count > 3 && LoadLibraryW(arguments[3]) == nullptr))
    {
        return 1;
    }
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const ComPtr<IEnumWbemClassObject> instances = Ask(std::wstring{L"SELECT * FROM "} + arguments[1]);
    return instances && Print(*instances.Get(), arguments[2]) ? 0 : 1;
}
