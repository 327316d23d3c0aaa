#include "Tests/Support/ScriptedFirmware.h"

#include "Tests/Support/FakeObject.h"

#include <oleauto.h>

namespace Zv::Testing
{

namespace
{

// A property's value, cleared at the end.
class Read
{
public:
    Read(const ObjectScript& object, const wchar_t* property)
    {
        const auto found = object.properties.find(property);
        if (found == object.properties.end() || FAILED(found->second.Fill(&m_value)))
        {
            ADD_FAILURE() << "no " << Narrow(property);
        }
    }
    Read(const Read&) = delete;
    Read& operator=(const Read&) = delete;
    ~Read() { VariantClear(&m_value); }

    [[nodiscard]] std::int32_t Number() const { return m_value.vt == VT_I4 ? m_value.lVal : -1; }
    [[nodiscard]] const ObjectScript& Object() const
    {
        return ScriptOf(static_cast<IWbemClassObject*>(m_value.punkVal));
    }
    [[nodiscard]] std::vector<std::uint8_t> Bytes() const
    {
        if (m_value.parray == nullptr)
        {
            return {};
        }
        const auto* const first = static_cast<const std::uint8_t*>(m_value.parray->pvData);
        return {first, first + m_value.parray->rgsabound[0].cElements};
    }

private:
    VARIANT m_value{};
};

} // namespace

ScriptedFirmware::ScriptedFirmware(WmiScript& script)
{
    NamespaceScript& firmware = script[FirmwareNamespace];
    const ObjectScriptPtr methods = Instance(L"zvqBIntM", {});
    for (const wchar_t* const name :
         {L"zvqBIOSInt0", L"zvqBIOSInt4", L"zvqBIOSInt128", L"zvqBIOSInt1024", L"zvqBIOSInt4096"})
    {
        methods->signatures[name] = Instance(name, {});
    }
    firmware.classes[L"zvqBIntM"] = methods;
    firmware.classes[L"zvqBDataIn"] = Instance(L"zvqBDataIn", {});
    firmware.instances[L"zvqBIntM"] = {
        {Instance(L"instance of zvqBIntM", {{L"__PATH", Value::Text(L"the firmware")}})}};
    firmware.execute = [this](const MethodCall& call, ObjectScriptPtr& output) { return Execute(call, output); };
}

HRESULT ScriptedFirmware::Execute(const MethodCall& call, ObjectScriptPtr& output)
{
    const Read block{ScriptOf(call.input), L"InData"};
    m_method = call.method;
    m_command = Read{block.Object(), L"Command"}.Number();
    m_commandType = Read{block.Object(), L"CommandType"}.Number();
    m_size = Read{block.Object(), L"Size"}.Number();
    m_input = Read{block.Object(), L"zvqBData"}.Bytes();

    const std::size_t size = std::stoul(m_method.substr(std::wcslen(L"zvqBIOSInt")));
    const ObjectScriptPtr answer =
        Instance(L"OutData", {{L"rwReturnCode", Value::Int(returnCode, CIM_UINT32)},
                              {L"Data", Value::Bytes(data.value_or(std::vector<std::uint8_t>(size)))}});
    output = Instance(L"output", {{L"OutData", Value::Object(answer)}});
    return S_OK;
}

} // namespace Zv::Testing
