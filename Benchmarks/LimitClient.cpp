#include "Benchmarks/LimitClient.h"

#include "Platform/Com/Bstr.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/Com/SafeArray.h"
#include "Platform/Com/Variant.h"

#include <windows.h>

#include <wbemcli.h>
#include <wincrypt.h>

#include <stdexcept>

namespace Zv::Benchmarks
{

namespace
{

using namespace Tessel::Server::Shared::WMI;

constexpr LONG SemiSynchronous = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;

[[noreturn]] void Fail(HRESULT hr)
{
    throw std::runtime_error{"a COM call of the limit client failed with " + std::to_string(hr)};
}

// By itself, so that it costs no call for each byte of an array.
void Require(HRESULT hr)
{
    if (FAILED(hr))
    {
        Fail(hr);
    }
}

class Connection
{
public:
    Connection(Simulator::Machine& machine, const wchar_t* nameSpace)
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE,
                             nullptr, EOAC_NONE, nullptr);
        ComPtr<IWbemLocator> locator;
        Require(machine.CreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                       locator.ReceiveVoid()));
        const Bstr path{nameSpace};
        Require(
            locator->ConnectServer(path.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, m_services.Receive()));
        Require(CoSetProxyBlanket(m_services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                  RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE));
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection()
    {
        m_services.Reset();
        CoUninitialize();
    }

    IWbemServices* operator->() const { return m_services.Get(); }

    [[nodiscard]] ComPtr<IWbemClassObject> Object(const wchar_t* name) const
    {
        const Bstr path{name};
        ComPtr<IWbemClassObject> object;
        Require(m_services->GetObject(path.Get(), 0, nullptr, object.Receive(), nullptr));
        return object;
    }

    // The path of the first instance of a class.
    void FirstPath(const wchar_t* className, LONG timeout, Variant& path) const
    {
        const Bstr name{className};
        ComPtr<IEnumWbemClassObject> instances;
        Require(m_services->CreateInstanceEnum(name.Get(), SemiSynchronous, nullptr, instances.Receive()));
        ComPtr<IWbemClassObject> instance;
        ULONG returned = 0;
        Require(instances->Next(timeout, 1, instance.Receive(), &returned));
        Require(instance->Get(L"__PATH", 0, path.Address(), nullptr, nullptr));
    }

    [[nodiscard]] ComPtr<IEnumWbemClassObject> Query(const std::wstring& text) const
    {
        const Bstr language{L"WQL"};
        const Bstr query{text.c_str()};
        ComPtr<IEnumWbemClassObject> result;
        Require(m_services->ExecQuery(language.Get(), query.Get(), SemiSynchronous, nullptr, result.Receive()));
        return result;
    }

private:
    ComPtr<IWbemServices> m_services;
};

ComPtr<IWbemClassObject> Spawn(IWbemClassObject& definition)
{
    ComPtr<IWbemClassObject> instance;
    Require(definition.SpawnInstance(0, instance.Receive()));
    return instance;
}

ComPtr<IWbemClassObject> Method(IWbemClassObject& definition, const wchar_t* name)
{
    ComPtr<IWbemClassObject> signature;
    Require(definition.GetMethod(name, 0, signature.Receive(), nullptr));
    return signature;
}

// Element by element, as the module's contract has it.
void PutBytes(IWbemClassObject& object, const wchar_t* property, const unsigned char* bytes, std::size_t count)
{
    Variant value;
    if (count == 0)
    {
        value.SetByteArray(nullptr);
    }
    else
    {
        SafeArray array{SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(count))};
        for (LONG i = 0; i < static_cast<LONG>(count); ++i)
        {
            unsigned char element = bytes[i];
            Require(SafeArrayPutElement(array.Get(), &i, &element));
        }
        value.SetByteArray(array.Detach());
    }
    Require(object.Put(property, 0, value.Address(), 0));
}

void PutNumber(IWbemClassObject& object, const wchar_t* property, LONG number)
{
    Variant value;
    value.SetInt32(number);
    Require(object.Put(property, 0, value.Address(), 0));
}

void PutText(IWbemClassObject& object, const wchar_t* property, const wchar_t* text)
{
    Variant value;
    value.SetText(text);
    Require(object.Put(property, 0, value.Address(), CIM_STRING));
}

} // namespace

std::vector<unsigned char> LimitClient::FirmwareCommand(const std::vector<unsigned char>& input,
                                                        std::size_t returnSize) const
{
    const Connection wmi{m_machine, L"\\\\.\\root\\wmi"};
    const Bstr method{(L"zvqBIOSInt" + std::to_wstring(returnSize)).c_str()};
    const ComPtr<IWbemClassObject> signature = Method(*wmi.Object(L"zvqBIntM").Get(), method.Get());

    ComPtr<IWbemClassObject> block = Spawn(*wmi.Object(L"zvqBDataIn").Get());
    const unsigned char sign[] = {'S', 'E', 'C', 'U'};
    PutBytes(*block.Get(), L"Sign", sign, sizeof sign);
    PutNumber(*block.Get(), L"Command", 1);
    PutNumber(*block.Get(), L"CommandType", 255);
    PutNumber(*block.Get(), L"Size", static_cast<LONG>(input.size()));
    PutBytes(*block.Get(), L"zvqBData", input.data(), input.size());

    const ComPtr<IWbemClassObject> parameters = Spawn(*signature.Get());
    Variant blockValue;
    blockValue.SetUnknown(block.Detach());
    Require(parameters->Put(L"InData", 0, blockValue.Address(), 0));

    Variant path;
    wmi.FirstPath(L"ZvqBIntM", 2000, path);
    ComPtr<IWbemClassObject> out;
    Require(wmi->ExecMethod(path.Text(), method.Get(), 0, nullptr, parameters.Get(), out.Receive(), nullptr));

    Variant outValue;
    Require(out->Get(L"OutData", 0, outValue.Address(), nullptr, nullptr));
    ComPtr<IWbemClassObject> outBlock;
    Require(V_UNKNOWN(outValue.Address())->QueryInterface(IID_IWbemClassObject, outBlock.ReceiveVoid()));
    Variant code;
    Require(outBlock->Get(L"rwReturnCode", 0, code.Address(), nullptr, nullptr));

    std::vector<unsigned char> bytes(returnSize);
    if (returnSize != 0)
    {
        const SafeArray spare{SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(returnSize))};
        Variant data;
        Require(outBlock->Get(L"Data", 0, data.Address(), nullptr, nullptr));
        SAFEARRAY* const array = data.ByteArray();
        for (LONG i = 0; i < static_cast<LONG>(returnSize); ++i)
        {
            Require(SafeArrayGetElement(array, &i, &bytes[static_cast<std::size_t>(i)]));
        }
    }
    return bytes;
}

std::wstring LimitClient::FirmwareCommand(const std::wstring& base64Input, std::size_t returnSize) const
{
    DWORD size = 0;
    CryptStringToBinaryW(base64Input.c_str(), 0, CRYPT_STRING_BASE64, nullptr, &size, nullptr, nullptr);
    std::vector<unsigned char> input(size);
    CryptStringToBinaryW(base64Input.c_str(), 0, CRYPT_STRING_BASE64, input.data(), &size, nullptr, nullptr);

    const std::vector<unsigned char> output = FirmwareCommand(input, returnSize);

    const auto outputSize = static_cast<DWORD>(output.size());
    DWORD length = 0;
    CryptBinaryToStringW(output.data(), outputSize, CRYPT_STRING_BASE64, nullptr, &length);
    std::wstring text(length, L'\0');
    CryptBinaryToStringW(output.data(), outputSize, CRYPT_STRING_BASE64, text.data(), &length);
    return text;
}

std::size_t LimitClient::ReadProperty(const wchar_t* className, const wchar_t* property) const
{
    const Connection wmi{m_machine, L"ROOT\\CIMV2"};
    const ComPtr<IEnumWbemClassObject> instances = wmi.Query(L"SELECT * FROM " + std::wstring{className});
    std::size_t seen = 0;
    for (;;)
    {
        ComPtr<IWbemClassObject> instance;
        ULONG returned = 0;
        Require(instances->Next(static_cast<LONG>(WBEM_INFINITE), 1, instance.Receive(), &returned));
        if (!instance)
        {
            return seen;
        }
        Variant value;
        Require(instance->Get(property, 0, value.Address(), nullptr, nullptr));
        seen += value.Text() != nullptr ? SysStringLen(value.Text()) : 1;
    }
}

std::size_t LimitClient::ReadTexts(const wchar_t* className) const
{
    const Connection wmi{m_machine, L"ROOT\\CIMV2"};
    const ComPtr<IEnumWbemClassObject> instances = wmi.Query(L"SELECT * FROM " + std::wstring{className});
    std::size_t seen = 0;
    for (;;)
    {
        ComPtr<IWbemClassObject> instance;
        ULONG returned = 0;
        Require(instances->Next(static_cast<LONG>(WBEM_INFINITE), 1, instance.Receive(), &returned));
        if (!instance)
        {
            return seen;
        }
        ReceivedBstr text;
        Require(instance->GetObjectText(0, text.Receive()));
        seen += SysStringLen(text.Get());
    }
}

unsigned int LimitClient::Set(const wchar_t* name, const wchar_t* value) const
{
    const Connection wmi{m_machine, L"ROOT\\ZV\\InstrumentedBIOS"};
    Variant path;
    wmi.FirstPath(L"ZVBIOS_BIOSSettingInterface", static_cast<LONG>(WBEM_INFINITE), path);
    const Bstr method{name == nullptr ? L"SetSystemDefaults" : L"SetBIOSSetting"};
    const ComPtr<IWbemClassObject> parameters =
        Spawn(*Method(*wmi.Object(L"ZVBIOS_BIOSSettingInterface").Get(), method.Get()).Get());
    if (name != nullptr)
    {
        PutText(*parameters.Get(), L"Name", name);
        PutText(*parameters.Get(), L"Value", value);
    }
    PutText(*parameters.Get(), L"Password", nullptr);
    ComPtr<IWbemClassObject> out;
    Require(wmi->ExecMethod(path.Text(), method.Get(), 0, nullptr, parameters.Get(), out.Receive(), nullptr));
    Variant verdict;
    Require(out->Get(L"Return", 0, verdict.Address(), nullptr, nullptr));
    verdict.ConvertTo(VT_UINT);
    return V_UINT(&verdict.Value());
}

ComPtr<IWbemClassObject> LimitClient::MakeEvent(int id, int data) const
{
    const Connection wmi{m_machine, L"\\\\.\\root\\wmi"};
    ComPtr<IWbemClassObject> event = Spawn(*wmi.Object(L"zvqBEvnt").Get());
    PutNumber(*event.Get(), L"EventID", id);
    PutNumber(*event.Get(), L"EventData", data);
    return event;
}

} // namespace Zv::Benchmarks
