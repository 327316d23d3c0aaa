// The firmware method class and the settings class, driven as the module drives them.
#include "Tests/Simulator/Client.h"

#include "Simulator/Cim/StatusNames.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Zv::Testing
{

using Simulator::Machine;
using Simulator::Status;

namespace
{

void PutNumber(IWbemClassObject& object, const wchar_t* name, LONG value)
{
    Variant variant;
    V_VT(variant.Address()) = VT_I4;
    V_I4(variant.Address()) = value;
    EXPECT_EQ(S_OK, object.Put(name, 0, variant.Address(), 0)) << name;
}

void PutBytes(IWbemClassObject& object, const wchar_t* name, const std::vector<BYTE>& bytes)
{
    Variant variant;
    V_VT(variant.Address()) = VT_ARRAY | VT_UI1;
    V_ARRAY(variant.Address()) = nullptr;
    if (!bytes.empty())
    {
        SAFEARRAY* const array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), static_cast<BYTE*>(array->pvData));
        V_ARRAY(variant.Address()) = array;
    }
    EXPECT_EQ(S_OK, object.Put(name, 0, variant.Address(), 0)) << name;
}

ComPtr<IWbemClassObject> Spawn(IWbemClassObject& definition)
{
    ComPtr<IWbemClassObject> instance;
    EXPECT_EQ(S_OK, definition.SpawnInstance(0, instance.Receive()));
    return instance;
}

ComPtr<IWbemClassObject> ClassOf(IWbemServices& services, const wchar_t* name)
{
    ComPtr<IWbemClassObject> definition;
    EXPECT_EQ(S_OK, services.GetObject(Bstr{name}.Get(), 0, nullptr, definition.Receive(), nullptr));
    return definition;
}

std::wstring PathOfFirst(IWbemServices& services, const wchar_t* className)
{
    ComPtr<IEnumWbemClassObject> enumerator;
    EXPECT_EQ(S_OK, services.CreateInstanceEnum(Bstr{className}.Get(), SemiSynchronous, nullptr, enumerator.Receive()));
    ComPtr<IWbemClassObject> instance;
    EXPECT_EQ(S_OK, Next(*enumerator.Get(), instance));
    Variant path;
    EXPECT_EQ(S_OK, instance->Get(L"__PATH", 0, path.Address(), nullptr, nullptr));
    return V_BSTR(path.Address());
}

// The out-parameters of one firmware command.
struct Reply
{
    HRESULT status = S_OK;
    std::wstring returnCode;
    std::wstring data;
};

Reply RunFirmware(IWbemServices& services, LONG command, LONG type, const std::vector<BYTE>& input,
                  const wchar_t* method)
{
    const ComPtr<IWbemClassObject> firmware = ClassOf(services, L"zvqBIntM");
    ComPtr<IWbemClassObject> signature;
    EXPECT_EQ(S_OK, firmware->GetMethod(method, 0, signature.Receive(), nullptr));
    const ComPtr<IWbemClassObject> in = Spawn(*signature.Get());
    const ComPtr<IWbemClassObject> block = Spawn(*ClassOf(services, L"zvqBDataIn").Get());
    PutBytes(*block.Get(), L"Sign", {0x53, 0x45, 0x43, 0x55});
    PutNumber(*block.Get(), L"Command", command);
    PutNumber(*block.Get(), L"CommandType", type);
    PutNumber(*block.Get(), L"Size", static_cast<LONG>(input.size()));
    PutBytes(*block.Get(), L"zvqBData", input);
    {
        Variant embedded;
        V_VT(embedded.Address()) = VT_UNKNOWN;
        V_UNKNOWN(embedded.Address()) = block.Get();
        block->AddRef();
        EXPECT_EQ(S_OK, in->Put(L"InData", 0, embedded.Address(), 0));
    }

    const std::wstring path = PathOfFirst(services, L"ZvqBIntM");
    EXPECT_EQ(L"\\\\NOTEBOOK\\root\\wmi:zvqBIntM.InstanceName=\"ACPI\\\\PNP0C14\\\\0_0\"", path);
    Reply reply;
    ComPtr<IWbemClassObject> out;
    reply.status =
        services.ExecMethod(Bstr{path.c_str()}.Get(), Bstr{method}.Get(), 0, nullptr, in.Get(), out.Receive(), nullptr);
    if (SUCCEEDED(reply.status))
    {
        Variant value;
        EXPECT_EQ(S_OK, out->Get(L"OutData", 0, value.Address(), nullptr, nullptr));
        if (value.Type() != VT_UNKNOWN)
        {
            return {reply.status, L"no OutData", L"no OutData"};
        }
        ComPtr<IWbemClassObject> outData;
        EXPECT_EQ(S_OK, V_UNKNOWN(value.Address())->QueryInterface(IID_IWbemClassObject, outData.ReceiveVoid()));
        reply.returnCode = Show(*outData.Get(), L"rwReturnCode");
        reply.data = Show(*outData.Get(), L"Data");
    }
    return reply;
}

std::wstring RunSetting(IWbemServices& services, const wchar_t* method,
                        const std::vector<std::pair<const wchar_t*, const wchar_t*>>& parameters)
{
    ComPtr<IWbemClassObject> signature;
    EXPECT_EQ(S_OK,
              ClassOf(services, L"ZVBIOS_BIOSSettingInterface")->GetMethod(method, 0, signature.Receive(), nullptr));
    const ComPtr<IWbemClassObject> in = Spawn(*signature.Get());
    for (const auto& [name, text] : parameters)
    {
        Variant value;
        V_VT(value.Address()) = VT_BSTR;
        V_BSTR(value.Address()) = text == nullptr ? nullptr : SysAllocString(text);
        EXPECT_EQ(S_OK, in->Put(name, 0, value.Address(), CIM_STRING)) << name;
    }
    ComPtr<IWbemClassObject> out;
    const std::wstring path = PathOfFirst(services, L"ZVBIOS_BIOSSettingInterface");
    EXPECT_EQ(S_OK, services.ExecMethod(Bstr{path.c_str()}.Get(), Bstr{method}.Get(), 0, nullptr, in.Get(),
                                        out.Receive(), nullptr));
    return Show(*out.Get(), L"Return");
}

} // namespace

TEST(FirmwareTests, ACommandIsAnsweredByTheFirstRuleThatFits)
{
    Machine machine = LoadMachine("notebook.json");
    {
        const ComPtr<IWbemServices> services = Connected(machine, L"\\\\.\\root\\wmi");
        const Reply reply = RunFirmware(*services.Get(), 1, 40, {}, L"zvqBIOSInt4");
        EXPECT_EQ(S_OK, reply.status);
        EXPECT_EQ(L"VT_I4 0", reply.returnCode);
        EXPECT_EQ(L"VT_ARRAY|VT_UI1 [02 00 00 00]", reply.data);
        EXPECT_EQ(0U, machine.UnmatchedCalls());
    }
    EXPECT_EQ("nothing", machine.Outstanding().Describe());
}

TEST(FirmwareTests, TheInputBytesChooseTheRule)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    EXPECT_EQ(L"VT_I4 0", RunFirmware(*services.Get(), 2, 40, {3, 0, 0, 0}, L"zvqBIOSInt0").returnCode);
    EXPECT_EQ(L"VT_I4 5", RunFirmware(*services.Get(), 2, 40, {9, 0, 0, 0}, L"zvqBIOSInt0").returnCode);
    EXPECT_EQ(L"VT_I4 5", RunFirmware(*services.Get(), 2, 40, {}, L"zvqBIOSInt0").returnCode);
}

TEST(FirmwareTests, AMethodWithoutDataHasNoDataProperty)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    EXPECT_EQ(L"WBEM_E_NOT_FOUND", RunFirmware(*services.Get(), 1, 255, {}, L"zvqBIOSInt0").data);
}

TEST(FirmwareTests, AnUnsigned32BitReturnCodeArrivesAsVtI4)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    EXPECT_EQ(L"VT_I4 -559038737", RunFirmware(*services.Get(), 1, 9, {}, L"zvqBIOSInt0").returnCode);
}

TEST(FirmwareTests, TheLoopbackCommandFillsUpToTheSizeOfTheMethod)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    EXPECT_EQ(L"VT_ARRAY|VT_UI1 [01 02 00 00]", RunFirmware(*services.Get(), 1, 255, {1, 2}, L"zvqBIOSInt4").data);
    EXPECT_EQ(L"VT_ARRAY|VT_UI1 [01 02 03 04]",
              RunFirmware(*services.Get(), 1, 255, {1, 2, 3, 4, 5, 6}, L"zvqBIOSInt4").data);
}

TEST(FirmwareTests, AnUnmatchedCommandGetsTheDefaultAndIsCounted)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    EXPECT_EQ(L"VT_I4 4", RunFirmware(*services.Get(), 77, 1, {}, L"zvqBIOSInt4").returnCode);
    EXPECT_EQ(1U, machine.UnmatchedCalls());
    const auto calls = machine.MethodCalls();
    ASSERT_EQ(1U, calls.size());
    EXPECT_EQ(L"zvqBIOSInt4", calls[0].method);
    EXPECT_FALSE(calls[0].matched);
    ASSERT_NE(nullptr, calls[0].in);
    EXPECT_EQ(77, *Simulator::FindValue(*calls[0].in, {L"InData", L"Command"})->As<std::int64_t>());
}

TEST(FirmwareTests, ExecMethodTellsWhatIsWrongWithACall)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"root\\wmi");
    const auto execute = [&](const wchar_t* path, const wchar_t* method) {
        ComPtr<IWbemClassObject> out;
        return StatusText(
            services->ExecMethod(Bstr{path}.Get(), Bstr{method}.Get(), 0, nullptr, nullptr, out.Receive(), nullptr));
    };
    const wchar_t* path = L"zvqBIntM.InstanceName=\"ACPI\\\\PNP0C14\\\\0_0\"";
    EXPECT_EQ(L"WBEM_E_INVALID_METHOD_PARAMETERS", execute(path, L"zvqBIOSInt4"));
    EXPECT_EQ(L"WBEM_E_INVALID_METHOD", execute(path, L"zvqBIOSInt5"));
    EXPECT_EQ(L"WBEM_E_NOT_FOUND", execute(L"zvqBIntM.InstanceName=\"other\"", L"zvqBIOSInt4"));
    EXPECT_EQ(L"WBEM_E_INVALID_CLASS", execute(L"none.InstanceName=\"other\"", L"zvqBIOSInt4"));
    EXPECT_EQ(L"WBEM_E_NOT_FOUND", execute(L"none", L"zvqBIOSInt4"));
    EXPECT_EQ(L"WBEM_E_INVALID_OBJECT_PATH", execute(L"zvqBIntM.=\"", L"zvqBIOSInt4"));
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", execute(L"", L"zvqBIOSInt4"));
    EXPECT_EQ(L"WBEM_E_INVALID_PARAMETER", execute(path, L""));
}

TEST(FirmwareTests, ASettingIsChangedWithThePasswordOnly)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"ROOT\\ZV\\InstrumentedBIOS");
    const auto set = [&](const wchar_t* name, const wchar_t* value, const wchar_t* password) {
        return RunSetting(*services.Get(), L"SetBIOSSetting",
                          {{L"Name", name}, {L"Value", value}, {L"Password", password}});
    };
    EXPECT_EQ(L"VT_I4 6", set(L"Fast Boot", L"Disable", nullptr));
    EXPECT_EQ(L"VT_I4 6", set(L"Fast Boot", L"Disable", L""));
    EXPECT_EQ(L"VT_I4 6", set(L"Fast Boot", L"Disable", L"winter-2024"));
    EXPECT_EQ(L"Enable", machine.SettingValue(L"Fast Boot"));
    EXPECT_EQ(L"VT_I4 0", set(L"Fast Boot", L"Disable", L"Winter-2024"));
    EXPECT_EQ(L"Disable", machine.SettingValue(L"Fast Boot"));
    EXPECT_EQ(L"VT_I4 5", set(L"Fast Boot", L"Perhaps", L"Winter-2024"));
    EXPECT_EQ(L"VT_I4 5", set(L"System Board ID", L"0000", L"Winter-2024")) << "read-only";
    EXPECT_EQ(L"VT_I4 1", set(L"Slow Boot", L"Enable", L"Winter-2024"));
    EXPECT_EQ((std::vector<std::wstring>{L"VT_BSTR \"Disable\""}),
              Column(*services.Get(), L"SELECT * FROM ZVBIOS_BIOSSetting WHERE Name = 'Fast Boot'", L"Value"));
}

TEST(FirmwareTests, RestoringTheDefaultsNeedsThePasswordToo)
{
    Machine machine = LoadMachine("notebook.json");
    const ComPtr<IWbemServices> services = Connected(machine, L"ROOT\\ZV\\InstrumentedBIOS");
    EXPECT_EQ(L"VT_I4 6", RunSetting(*services.Get(), L"SetSystemDefaults", {{L"Password", L"wrong"}}));
    EXPECT_EQ(L"Disable", machine.SettingValue(L"Virtualization Technology"));
    EXPECT_EQ(L"VT_I4 0", RunSetting(*services.Get(), L"SetSystemDefaults", {{L"Password", L"Winter-2024"}}));
    EXPECT_EQ(L"Enable", machine.SettingValue(L"Virtualization Technology"));
    EXPECT_EQ(L"", machine.SettingValue(L"Asset Tracking Number"));
}

} // namespace Zv::Testing
