// A change of a setting and the restoring of defaults, call by call.

#include "Tests/Support/ModuleTest.h"
#include "Tests/Support/ScriptedSettings.h"

#include <oleauto.h>

#include <optional>
#include <ostream>

namespace
{

using namespace Zv::Testing;

using Calls = std::vector<std::wstring>;

constexpr char Method[] = "SetBiosPublicWmi";

Value Number(VARTYPE type, std::uint32_t bits)
{
    return Value::Other([type, bits](VARIANT* variant) {
        variant->vt = type;
        variant->ulVal = bits;
        return S_OK;
    });
}

struct Step
{
    const char* site;
    int call;
    const wchar_t* text;
    const wchar_t* last; // how the last call of WMI begins, but for releases
    bool givesObject = false;
};

// The two commands and what tells them apart.
struct Command
{
    unsigned int function;
    const wchar_t* request; // but for its password and its end
    std::wstring method;
    Calls puts; // before the password's
    std::vector<Step> putSteps;
};

constexpr char Put[] = "IWbemClassObject::Put";

const Command Change{64,
                     LR"({"name":"Wake on LAN","value":"Off")",
                     L"SetBIOSSetting",
                     {LR"(new SetBIOSSetting::Put("Name", 0, VT_BSTR "Wake on LAN", 8) = 0x00000000)",
                      LR"(new SetBIOSSetting::Put("Value", 0, VT_BSTR "Off", 8) = 0x00000000)"},
                     {{Put, 1, L"IWbemClassObject->Put(name)", L"new SetBIOSSetting::Put(\"Name\""},
                      {Put, 2, L"IWbemClassObject->Put(value)", L"new SetBIOSSetting::Put(\"Value\""},
                      {Put, 3, L"IWbemClassObject->Put(password)", L"new SetBIOSSetting::Put(\"Password\""}}};
// Name and value are not read, let alone put.
const Command Defaults{128,
                       LR"({"name":"Wake on LAN","value":"Off")",
                       L"SetSystemDefaults",
                       {},
                       {{Put, 1, L"IWbemClassObject->Put(password)", L"new SetSystemDefaults::Put(\"Password\""}}};

void PrintTo(const Command& command, std::ostream* stream)
{
    *stream << "function " << command.function;
}

class Setting : public ModuleTest, public ::testing::WithParamInterface<Command>
{
protected:
    Setting() { settings.emplace(wmi->script); }

    Reply RunIt(const std::wstring& password = LR"("secret")")
    {
        return Run(GetParam().function, (GetParam().request + (L",\"password\":" + password) + L"}").c_str());
    }

    // What the command calls, but for what it lets go on the way.
    [[nodiscard]] Calls WithoutReleases() const
    {
        Calls made = transcript.Calls();
        std::erase_if(made, [](const std::wstring& call) { return call.ends_with(L"::Release() = 0"); });
        return made;
    }

    [[nodiscard]] static Calls Expected(const std::wstring& password)
    {
        const std::wstring& method = GetParam().method;
        Calls expected{
            L"CoInitializeEx(null, 0) = 0x00000000",
            L"CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null) = 0x00000000",
            L"CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator, ptr) = 0x00000000",
            LR"(IWbemLocator::ConnectServer("ROOT\ZV\InstrumentedBIOS", null, null, null, 0, null, null) = 0x00000000)",
            L"CoSetProxyBlanket(ptr, 0xa, 0, null, 3, 3, null, 0) = 0x00000000",
            LR"(IWbemServices::CreateInstanceEnum("ZVBIOS_BIOSSettingInterface", 48, null) = 0x00000000)",
            L"IEnumWbemClassObject::Next(-1, 1) = 0x00000000",
            LR"(the settings::Get("__PATH", 0) = 0x00000000)",
            LR"(IWbemServices::GetObject("ZVBIOS_BIOSSettingInterface", 0, null, null) = 0x00000000)",
            LR"(ZVBIOS_BIOSSettingInterface::GetMethod(")" + method + LR"(", 0) = 0x00000000)",
            method + L"::SpawnInstance(0) = 0x00000000",
        };
        expected.insert(expected.end(), GetParam().puts.begin(), GetParam().puts.end());
        expected.push_back(L"new " + method + LR"(::Put("Password", 0, VT_BSTR )" + password + L", 8) = 0x00000000");
        expected.push_back(LR"(IWbemServices::ExecMethod("their path", ")" + method +
                           LR"(", 0, null, ptr, ptr, null) = 0x00000000)");
        expected.push_back(LR"(output::Get("Return", 0) = 0x00000000)");
        expected.push_back(L"CoUninitialize()");
        return expected;
    }

    [[nodiscard]] static std::vector<Step> Steps()
    {
        const Step before[] = {
            {"IWbemServices::CreateInstanceEnum", 1, L"IWbemServices->CreateInstanceEnum",
             L"IWbemServices::CreateInstanceEnum", true},
            {"IEnumWbemClassObject::Next", 1, L"IEnumWbemClassObject->Next", L"IEnumWbemClassObject::Next", true},
            {"IWbemClassObject::Get", 1, L"IWbemClassObject->Get(path)", L"the settings::Get(\"__PATH\""},
            {"IWbemServices::GetObject", 1, L"IWbemService->GetObject", L"IWbemServices::GetObject", true},
            {"IWbemClassObject::GetMethod", 1, L"IWbemClassObject->GetMethod",
             L"ZVBIOS_BIOSSettingInterface::GetMethod", true},
            {"IWbemClassObject::SpawnInstance", 1, L"IWbemClassObject->SpawnInstance", L"Set", true},
        };
        const Step after[] = {
            {"IWbemServices::ExecMethod", 1, L"IWbemServices->ExecMethod", L"IWbemServices::ExecMethod", true},
            {"IWbemClassObject::Get", 2, L"IWbemClassObject->Get(Return)", L"output::Get(\"Return\""},
        };
        std::vector<Step> steps{std::begin(before), std::end(before)};
        steps.insert(steps.end(), GetParam().putSteps.begin(), GetParam().putSteps.end());
        steps.insert(steps.end(), std::begin(after), std::end(after));
        return steps;
    }

    // Lets the step give `hr`, which is to be logged and to end the command.
    void ExpectFailure(const Step& step, HRESULT hr)
    {
        SCOPED_TRACE(Narrow(step.text));
        plan.Clear();
        transcript.Clear();
        Fail(step.site, Fault::Nth(step.call, hr));

        const Reply reply = RunIt();

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{Failed(step.text, hr)});
        EXPECT_EQ(wmi->Outstanding(), 0);
        EXPECT_EQ(transcript.Calls().back(), L"CoUninitialize()");
        const Calls made = WithoutReleases();
        ASSERT_GE(made.size(), 2u);
        EXPECT_TRUE(made[made.size() - 2].starts_with(step.last)) << Narrow(made[made.size() - 2]);
    }

    static LogLine Failed(const wchar_t* call, HRESULT hr) { return CallFailed(PublicWmiClass, Method, call, hr); }

    std::optional<ScriptedSettings> settings;
};

TEST_P(Setting, TakesTheseStepsInThisOrder)
{
    EXPECT_EQ(RunIt().code, 0);

    EXPECT_EQ(WithoutReleases(), Expected(L"\"secret\""));
    EXPECT_TRUE(Log().empty());
}

TEST_P(Setting, LetsGoOfTheConnectionBeforeItLeavesCom)
{
    RunIt();

    const Calls made = transcript.Calls();
    EXPECT_EQ(transcript.Of({L"IWbemServices::Release", L"CoUninitialize"}),
              (Calls{L"IWbemServices::Release() = 0", L"CoUninitialize()"}));
    EXPECT_EQ(made.back(), L"CoUninitialize()");
}

TEST_P(Setting, PutsNoPasswordAsATextWithoutString)
{
    EXPECT_EQ(RunIt(L"null").code, 0);

    EXPECT_EQ(WithoutReleases(), Expected(L"null"));
}

TEST_P(Setting, PutsAnEmptyPasswordAsAnEmptyString)
{
    EXPECT_EQ(RunIt(L"\"\"").code, 0);

    EXPECT_EQ(WithoutReleases(), Expected(L"\"\""));
}

TEST_P(Setting, PutsALongPasswordWhole)
{
    const std::wstring password = L"\"" + std::wstring(3000, L'\u00e4') + L"\"";

    EXPECT_EQ(RunIt(password).code, 0);

    EXPECT_EQ(WithoutReleases(), Expected(password));
}

TEST_P(Setting, GivesTheFirmwaresVerdictWithoutJudgingIt)
{
    const struct
    {
        Value verdict;
        const wchar_t* response;
    } cases[] = {
        {Value::Int(0), LR"({"result":0})"},
        {Value::Int(6), LR"({"result":6})"}, // as for a wrong password
        {Value::Int(INT32_MAX), LR"({"result":2147483647})"},
        {Number(VT_UINT, 0x80000001), LR"({"result":2147483649})"},
        {Number(VT_UI4, 0xffffffff), LR"({"result":4294967295})"},
        {Number(VT_UI1, 5), LR"({"result":5})"},
        {Number(VT_I2, 300), LR"({"result":300})"},
        {Value::Bool(false), LR"({"result":0})"},
        {Value::Text(L"17"), LR"({"result":17})"},
    };
    for (const auto& [verdict, response] : cases)
    {
        settings->verdict = verdict;

        const Reply reply = RunIt();

        EXPECT_EQ(reply.code, 0) << Narrow(response);
        EXPECT_EQ(Narrow(reply.text), Narrow(response));
    }
    EXPECT_TRUE(Log().empty());
}

TEST_P(Setting, ConvertsAVerdictOnlyWhenItIsOfAnotherType)
{
    settings->verdict = Number(VT_UINT, 7);
    RunIt();
    EXPECT_EQ(plan.Calls("VariantChangeType"), 0);

    settings->verdict = Number(VT_UI4, 7);
    RunIt();
    EXPECT_EQ(plan.Calls("VariantChangeType"), 1);
}

TEST_P(Setting, WithAVerdictThatIsNoNumberIsAGeneralFailureWithoutALine)
{
    for (const Value& verdict :
         {Value::Null(), Value::Text(L"done"), Value::Ints({0}), Value::Object(Instance(L"embedded", {}))})
    {
        settings->verdict = verdict;

        const Reply reply = RunIt();

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(transcript.Calls().back(), L"CoUninitialize()");
    }
    EXPECT_TRUE(Log().empty());
}

TEST_P(Setting, ThatFailsAtAnyCallLogsItOnceWithItsStatusAndEnds)
{
    for (const Step& step : Steps())
    {
        for (const HRESULT hr : {static_cast<HRESULT>(WBEM_E_ACCESS_DENIED), E_OUTOFMEMORY})
        {
            ExpectFailure(step, hr);
        }
    }
    plan.Clear();
    EXPECT_EQ(RunIt().code, 0) << "the next command";
}

TEST_P(Setting, ThatGetsNoObjectFromASuccessfulCallFailsAsWell)
{
    for (const Step& step : Steps())
    {
        if (step.givesObject)
        {
            ExpectFailure(step, S_OK);
        }
    }
}

TEST_P(Setting, OnAMachineWithoutTheSettingsClassIsAGeneralFailure)
{
    wmi->script[SettingsNamespace].instances.clear();

    const Reply reply = RunIt();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(L"IEnumWbemClassObject->Next", static_cast<HRESULT>(WBEM_E_INVALID_CLASS))});
}

TEST_P(Setting, OnAMachineWithoutInstancesOfTheClassIsAGeneralFailure)
{
    wmi->script[SettingsNamespace].instances[SettingsClass] = {};

    const Reply reply = RunIt();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(L"IEnumWbemClassObject->Next", static_cast<HRESULT>(WBEM_S_FALSE))});
}

TEST_P(Setting, OnAMachineWithoutTheNamespaceSaysSo)
{
    wmi->script.clear();

    const Reply reply = RunIt();

    EXPECT_EQ(reply.code, 0x20000012);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(),
              std::vector{CallFailed(PublicWmiClass, "ConnectToWmi", L"IWbemLocator->ConnectServer(WmiNamespace)",
                                     static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE))});
    EXPECT_EQ(transcript.Calls().back(), L"CoUninitialize()");
}

TEST_P(Setting, ThatCannotConnectIsAGeneralFailure)
{
    const struct
    {
        const char* site;
        const wchar_t* text;
    } cases[] = {{"CoCreateInstance", L"CoCreateInstance"},
                 {"IWbemLocator::ConnectServer", L"IWbemLocator->ConnectServer(WmiNamespace)"},
                 {"CoSetProxyBlanket", L"CoSetProxyBlanket"}};
    for (const auto& [site, text] : cases)
    {
        plan.Clear();
        transcript.Clear();
        Fail(site, Fault::Every(E_ACCESSDENIED));

        const Reply reply = RunIt();

        EXPECT_EQ(reply.code, 0x20000002) << site;
        EXPECT_EQ(reply.text, L"{}") << site;
        EXPECT_EQ(Log(), std::vector{CallFailed(PublicWmiClass, "ConnectToWmi", text, E_ACCESSDENIED)});
        EXPECT_EQ(transcript.Calls().back(), L"CoUninitialize()") << site;
    }
}

TEST_P(Setting, GoesOnWhenComCannotBeJoined)
{
    Fail("CoInitializeEx", Fault::Every(E_OUTOFMEMORY));
    ExpectComJoinsLeft(-1); // left all the same

    EXPECT_EQ(RunIt().code, 0);

    EXPECT_EQ(Log(), std::vector{Failed(L"CoInitializeEx", E_OUTOFMEMORY)});
    EXPECT_EQ(plan.Calls("CoUninitialize"), 1);
}

TEST_P(Setting, WithoutMemoryForATextIsAGeneralFailure)
{
    RunIt();
    const int texts = plan.Calls("SysAllocString");
    ASSERT_GE(texts, static_cast<int>(5 + GetParam().puts.size())) << "namespace, class twice, password, method";
    for (int text = 1; text <= texts; ++text)
    {
        plan.Clear();
        transcript.Clear();
        Fail("SysAllocString", Fault::Nth(text, 0));

        const Reply reply = RunIt();

        EXPECT_EQ(reply.code, 0x20000002) << "text " << text;
        EXPECT_EQ(reply.text, L"{}") << "text " << text;
        EXPECT_EQ(wmi->Outstanding(), 0) << "text " << text;
        EXPECT_EQ(transcript.Calls().back(), L"CoUninitialize()") << "text " << text;
    }
}

INSTANTIATE_TEST_SUITE_P(OfEitherKind, Setting, ::testing::Values(Change, Defaults),
                         [](const auto& command) { return std::to_string(command.param.function); });

} // namespace
