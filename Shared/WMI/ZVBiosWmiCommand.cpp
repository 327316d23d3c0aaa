// The firmware command of ZVBiosWmi: input block, method call, output block.

#include "Shared/WMI/ZVBiosWmi.h"

#include "Platform/Com/Bstr.h"
#include "Platform/Windows/BoundedFormat.h"
#include "Shared/WMI/FirmwareNames.h"
#include "Shared/WMI/WmiCall.h"

#include <algorithm>

namespace Zv::Tessel::Server::Shared::WMI
{

namespace
{

constexpr unsigned char Signature[] = {'S', 'E', 'C', 'U'};

constexpr LONG SemiSynchronous = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;
constexpr LONG NextTimeoutMilliseconds = 2000;
constexpr CIMTYPE TypeOfClass = 0; // Put converts to what the class declares

HRESULT Put(IWbemClassObject& object, const wchar_t* property, Variant& value)
{
    return object.Put(property, 0, value.Address(), TypeOfClass);
}

HRESULT Get(IWbemClassObject& object, const wchar_t* property, VARIANT* value)
{
    return object.Get(property, 0, value, nullptr, nullptr);
}

// The VARIANT's 32-bit value, whichever number it is. One that holds a pointer has none.
std::uint32_t ToUint32(const Variant& value) noexcept
{
    switch (value.Type())
    {
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_BOOL:
        return V_UI4(&value.Value());
    default:
        return 0;
    }
}

} // namespace

HRESULT ZVBiosWmi::ExecuteCommand(std::uint32_t command, std::uint32_t commandType, std::uint32_t inputDataSize,
                                  const unsigned char* inputData, std::uint32_t returnDataSize,
                                  unsigned char* returnData, std::uint32_t& returnCode, const wchar_t* logContext)
{
    constexpr const char* method = "ExecuteCommand";
    if (!GetReady(logContext))
    {
        return E_FAIL;
    }

    wchar_t methodNameText[30];
    HRESULT hr = BoundedFormat(methodNameText, sizeof methodNameText, FirmwareMethodNameFormat, returnDataSize);
    if (FAILED(hr))
    {
        return hr;
    }
    const Bstr methodName{methodNameText};

    const ClassLog log = Log(logContext);
    ComPtr<IWbemClassObject> methodClass;
    hr = GetClassObject(FirmwareMethodClass, method, methodClass, logContext);
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> inSignature;
    hr = methodClass->GetMethod(methodName.Get(), 0, inSignature.Receive(), nullptr);
    methodClass.Reset();
    hr = Checked(hr, inSignature.Get(), log, method, L"IWbemClassObject->GetMethod(BiosWmiMethod)");
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> inParams;
    hr = SetupInputDataBlock(command, commandType, inputDataSize, inputData, *inSignature.Get(), inParams, logContext);
    inSignature.Reset();
    if (FAILED(hr))
    {
        return hr;
    }

    Variant path;
    hr = GetBiosMethodObjectPath(path, logContext);
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> outParams;
    hr =
        m_services->ExecMethod(path.Text(), methodName.Get(), 0, nullptr, inParams.Get(), outParams.Receive(), nullptr);
    hr = Checked(hr, outParams.Get(), log, method, L"IWbemServices->ExecMethod(BIOS method)");
    if (FAILED(hr))
    {
        return hr;
    }
    return GetOutputData(*outParams.Get(), returnDataSize, returnData, returnCode, logContext);
}

HRESULT ZVBiosWmi::GetClassObject(const wchar_t* className, const char* method, ComPtr<IWbemClassObject>& object,
                                  const wchar_t* logContext)
{
    const Bstr name{className};
    const HRESULT hr = m_services->GetObject(name.Get(), 0, nullptr, object.Receive(), nullptr);
    // One text for both classes.
    return Checked(hr, object.Get(), Log(logContext), method, L"IWbemServices->GetObject(InputDataBlock)");
}

HRESULT ZVBiosWmi::SetupInputDataBlock(std::uint32_t command, std::uint32_t commandType, std::uint32_t inputDataSize,
                                       const unsigned char* inputData, IWbemClassObject& methodInSignature,
                                       ComPtr<IWbemClassObject>& inParams, const wchar_t* logContext)
{
    constexpr const char* method = "SetupInputDataBlock";
    const ClassLog log = Log(logContext);

    ComPtr<IWbemClassObject> blockClass;
    HRESULT hr = GetClassObject(FirmwareInputClass, method, blockClass, logContext);
    if (FAILED(hr))
    {
        return hr;
    }
    ComPtr<IWbemClassObject> block;
    hr = blockClass->SpawnInstance(0, block.Receive());
    blockClass.Reset();
    hr = Checked(hr, block.Get(), log, method, L"IWbemClassObject->SpawnInstance(InputDataBlockInstance)");
    if (FAILED(hr))
    {
        return hr;
    }

    const auto putBytes = [&](const wchar_t* property, const wchar_t* call, const unsigned char* bytes,
                              std::uint32_t count) {
        SafeArray array;
        if (count != 0)
        {
            const HRESULT created = CreateSafeArray(array, bytes, count, logContext);
            if (FAILED(created))
            {
                return created;
            }
        }
        Variant value;
        value.SetByteArray(array.Detach());
        return Checked(Put(*block.Get(), property, value), log, method, call);
    };
    hr = putBytes(L"Sign", L"InputDataBlockInstance->Put(Sign)", Signature, sizeof Signature);
    if (FAILED(hr))
    {
        return hr;
    }

    const struct
    {
        const wchar_t* property;
        const wchar_t* call;
        std::uint32_t number;
    } numbers[] = {
        {L"Command", L"InputDataBlockInstance->Put(Command)", command},
        {L"CommandType", L"InputDataBlockInstance->Put(CommandType)", commandType},
        {L"Size", L"InputDataBlockInstance->Put(Size)", inputDataSize},
    };
    for (const auto& entry : numbers)
    {
        Variant value;
        value.SetInt32(static_cast<LONG>(entry.number));
        hr = Checked(Put(*block.Get(), entry.property, value), log, method, entry.call);
        if (FAILED(hr))
        {
            return hr;
        }
    }

    hr = putBytes(L"zvqBData", L"InputDataBlockInstance->Put(inputData)", inputData, inputDataSize);
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> instance;
    hr = methodInSignature.SpawnInstance(0, instance.Receive());
    hr = Checked(hr, instance.Get(), log, method, L"IWbemClassObject->SpawnInstance(BiosMethodInstance)");
    if (FAILED(hr))
    {
        return hr;
    }
    Variant blockValue;
    blockValue.SetUnknown(block.Detach());
    hr = Checked(Put(*instance.Get(), L"InData", blockValue), log, method,
                 L"BiosMethodInstance->Put(InputDataBlockClass)");
    if (SUCCEEDED(hr))
    {
        inParams = std::move(instance);
    }
    return hr;
}

HRESULT ZVBiosWmi::GetBiosMethodObjectPath(Variant& path, const wchar_t* logContext)
{
    constexpr const char* method = "GetBiosMethodObjectPath";
    const ClassLog log = Log(logContext);

    const Bstr className{FirmwareMethodClassOfInstances};
    ComPtr<IEnumWbemClassObject> instances;
    HRESULT hr = m_services->CreateInstanceEnum(className.Get(), SemiSynchronous, nullptr, instances.Receive());
    hr = Checked(hr, instances.Get(), log, method, L"IWbemServices->CreateInstanceEnum(BiosWmiMethod)");
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> instance;
    ULONG returned = 0;
    hr = instances->Next(NextTimeoutMilliseconds, 1, instance.Receive(), &returned);
    instances.Reset();
    hr = Checked(hr, instance.Get(), log, method, L"IEnumWbemClassObject->Next()"); // none in time counts as failed
    if (FAILED(hr))
    {
        return hr;
    }
    hr = Get(*instance.Get(), L"__PATH", path.Address());
    instance.Reset();
    return Checked(hr, log, method, L"IWbemClassObject->Get(path)");
}

HRESULT ZVBiosWmi::GetOutputData(IWbemClassObject& outParams, std::uint32_t returnDataSize, unsigned char* returnData,
                                 std::uint32_t& returnCode, const wchar_t* logContext) const
{
    constexpr const char* method = "GetOutputData";
    const ClassLog log = Log(logContext);

    Variant blockValue;
    HRESULT hr = Checked(Get(outParams, L"OutData", blockValue.Address()), log, method,
                         L"OutputDataBlockInstance->Get(OutputDataBlock)");
    if (FAILED(hr))
    {
        return hr;
    }

    ComPtr<IWbemClassObject> block;
    IUnknown* const unknown = blockValue.Type() == VT_UNKNOWN ? V_UNKNOWN(blockValue.Address()) : nullptr;
    hr = unknown == nullptr ? E_NOINTERFACE : unknown->QueryInterface(IID_IWbemClassObject, block.ReceiveVoid());
    hr = Checked(hr, block.Get(), log, method, L"OutputDataBlock->QueryInterface(OutputDataObject)");
    if (FAILED(hr))
    {
        return hr;
    }

    Variant codeValue;
    hr = Checked(Get(*block.Get(), L"rwReturnCode", codeValue.Address()), log, method,
                 L"OutputDataObject->Get(ReturnCode)");
    if (FAILED(hr))
    {
        return hr;
    }
    returnCode = ToUint32(codeValue);
    if (returnDataSize == 0)
    {
        return S_OK;
    }

    SafeArray receiver{SafeArrayCreateVector(VT_UI1, 0, returnDataSize)};
    if (!receiver)
    {
        log.CallFailed(method, L"SafeArrayCreateVector(OutputDataSize)", E_FAIL);
        return E_FAIL;
    }
    Variant data;
    data.SetByteArray(receiver.Get());
    hr = Get(*block.Get(), L"Data", data.Address());
    if ((data.Type() & VT_ARRAY) != 0 && V_ARRAY(data.Address()) == receiver.Get())
    {
        static_cast<void>(receiver.Detach()); // it was not replaced: the VARIANT owns it alone
    }
    hr = Checked(hr, log, method, L"OutputDataObject->Get(outputData)");
    if (FAILED(hr))
    {
        return hr;
    }

    SAFEARRAY* const array = data.ByteArray();
    if (array == nullptr)
    {
        log.Warning(L"%S.%S - return data is invalid", method);
        return S_OK;
    }
    const ULONG count = array->rgsabound[0].cElements;
    if (count != returnDataSize)
    {
        log.Warning(L"%S.%S - invalid return data size. requested %d byte, but retuned %d byte", method, returnDataSize,
                    count);
        return S_OK;
    }
    for (LONG index = std::max<LONG>(array->rgsabound[0].lLbound, 0); index < static_cast<LONG>(count); ++index)
    {
        // An element that cannot be fetched is left as it was.
        static_cast<void>(SafeArrayGetElement(array, &index, returnData + index));
    }
    return S_OK;
}

HRESULT ZVBiosWmi::CreateSafeArray(SafeArray& array, const unsigned char* bytes, std::uint32_t count,
                                   const wchar_t* logContext) const
{
    constexpr const char* method = "CreateSafeArray";
    const ClassLog log = Log(logContext);

    SafeArray filled{SafeArrayCreateVector(VT_UI1, 0, count)};
    if (!filled)
    {
        log.CallFailed(method, L"SafeArrayCreateVector()", E_FAIL);
        return E_FAIL;
    }
    for (LONG index = 0; index < static_cast<LONG>(count); ++index)
    {
        unsigned char element = bytes[index];
        const HRESULT hr =
            Checked(SafeArrayPutElement(filled.Get(), &index, &element), log, method, L"SafeArrayPutElement()");
        if (FAILED(hr))
        {
            return hr;
        }
    }
    array = std::move(filled);
    return S_OK;
}

} // namespace Zv::Tessel::Server::Shared::WMI
