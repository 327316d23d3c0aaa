#include "Tests/Simulator/Client.h"
#include "Platform/Windows/Utf8.h"

#include "Simulator/Cim/StatusNames.h"
#include "Simulator/Description/NodeReader.h"
#include "Tests/Support/FakeWmi.h"

#include <gtest/gtest.h>

namespace Zv::Testing
{

namespace
{

// Each test's thread is a client of COM.
class ComMember : public testing::Environment
{
    void SetUp() override { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    void TearDown() override { CoUninitialize(); }
};
[[maybe_unused]] testing::Environment* const member = testing::AddGlobalTestEnvironment(new ComMember);

} // namespace

Simulator::Machine LoadMachine(std::string_view file)
{
    return Simulator::Machine::Load(std::filesystem::path{ZV_MACHINES} / file);
}

ComPtr<IWbemLocator> Locate(Simulator::Machine& machine)
{
    ComPtr<IWbemLocator> locator;
    EXPECT_EQ(S_OK, machine.CreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                           locator.ReceiveVoid()));
    return locator;
}

HRESULT Connect(Simulator::Machine& machine, const wchar_t* path, ComPtr<IWbemServices>& services)
{
    const ComPtr<IWbemLocator> locator = Locate(machine);
    return locator->ConnectServer(Bstr{path}.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, services.Receive());
}

ComPtr<IWbemServices> Connected(Simulator::Machine& machine, const wchar_t* path)
{
    ComPtr<IWbemServices> services;
    EXPECT_EQ(S_OK, Connect(machine, path, services));
    return services;
}

HRESULT Query(IWbemServices& services, const wchar_t* query, LONG flags, ComPtr<IEnumWbemClassObject>& enumerator)
{
    return services.ExecQuery(Bstr{L"WQL"}.Get(), Bstr{query}.Get(), flags, nullptr, enumerator.Receive());
}

HRESULT Next(IEnumWbemClassObject& enumerator, ComPtr<IWbemClassObject>& object)
{
    ULONG returned = 0;
    return enumerator.Next(-1, 1, object.Receive(), &returned);
}

std::wstring Show(IWbemClassObject& object, const wchar_t* property)
{
    Variant value;
    const HRESULT hr = object.Get(property, 0, value.Address(), nullptr, nullptr);
    if (FAILED(hr))
    {
        return StatusText(hr);
    }
    switch (value.Type()) // the types that the module never looks at
    {
    case VT_UI1:
        return L"VT_UI1 " + std::to_wstring(V_UI1(value.Address()));
    case VT_I2:
        return L"VT_I2 " + std::to_wstring(V_I2(value.Address()));
    case VT_R4:
        return L"VT_R4 " + std::to_wstring(V_R4(value.Address()));
    case VT_R8:
        return L"VT_R8 " + std::to_wstring(V_R8(value.Address()));
    default:
        return ShowVariant(value.Address());
    }
}

std::vector<std::wstring> Column(IWbemServices& services, const wchar_t* query, const wchar_t* property)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    if (const HRESULT hr = Query(services, query, SemiSynchronous, enumerator); FAILED(hr))
    {
        return {L"ExecQuery " + StatusText(hr)};
    }
    std::vector<std::wstring> column;
    for (;;)
    {
        ComPtr<IWbemClassObject> object;
        const HRESULT hr = Next(*enumerator.Get(), object);
        if (FAILED(hr))
        {
            return {StatusText(hr)};
        }
        if (hr != S_OK)
        {
            return column;
        }
        column.push_back(Show(*object.Get(), property));
    }
}

std::wstring StatusText(HRESULT status)
{
    return ToUtf16(Simulator::StatusName(status));
}

} // namespace Zv::Testing
