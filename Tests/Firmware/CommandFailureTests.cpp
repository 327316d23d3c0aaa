// Each step of a raw firmware command that can fail.

#include "Tests/Firmware/FirmwareTest.h"

#include <ostream>

namespace
{

using namespace Zv::Testing;

struct Step
{
    const char* site;
    int call; // of the site, in a command with two bytes in and four bytes out
    const char* method;
    const wchar_t* text;
    const wchar_t* last; // how the last call of WMI begins, but for releases
    bool givesObject = false;
};

constexpr char Execute[] = "ExecuteCommand";
constexpr char Setup[] = "SetupInputDataBlock";
constexpr char Path[] = "GetBiosMethodObjectPath";
constexpr char Output[] = "GetOutputData";
constexpr char Array[] = "CreateSafeArray";

constexpr char GetObject_[] = "IWbemServices::GetObject";
constexpr char GetMethod[] = "IWbemClassObject::GetMethod";
constexpr char Spawn[] = "IWbemClassObject::SpawnInstance";
constexpr char Put[] = "IWbemClassObject::Put";
constexpr char Get[] = "IWbemClassObject::Get";

constexpr Step CallsOfWmi[] = {
    {GetObject_, 1, Execute, L"IWbemServices->GetObject(InputDataBlock)", L"IWbemServices::GetObject(\"zvqBIntM\"",
     true},
    {GetMethod, 1, Execute, L"IWbemClassObject->GetMethod(BiosWmiMethod)", L"zvqBIntM::GetMethod", true},
    {GetObject_, 2, Setup, L"IWbemServices->GetObject(InputDataBlock)", L"IWbemServices::GetObject(\"zvqBDataIn\"",
     true},
    {Spawn, 1, Setup, L"IWbemClassObject->SpawnInstance(InputDataBlockInstance)", L"zvqBDataIn::SpawnInstance", true},
    {Put, 1, Setup, L"InputDataBlockInstance->Put(Sign)", L"new zvqBDataIn::Put(\"Sign\""},
    {Put, 2, Setup, L"InputDataBlockInstance->Put(Command)", L"new zvqBDataIn::Put(\"Command\""},
    {Put, 3, Setup, L"InputDataBlockInstance->Put(CommandType)", L"new zvqBDataIn::Put(\"CommandType\""},
    {Put, 4, Setup, L"InputDataBlockInstance->Put(Size)", L"new zvqBDataIn::Put(\"Size\""},
    {Put, 5, Setup, L"InputDataBlockInstance->Put(inputData)", L"new zvqBDataIn::Put(\"zvqBData\""},
    {Spawn, 2, Setup, L"IWbemClassObject->SpawnInstance(BiosMethodInstance)", L"zvqBIOSInt4::SpawnInstance", true},
    {Put, 6, Setup, L"BiosMethodInstance->Put(InputDataBlockClass)", L"new zvqBIOSInt4::Put(\"InData\""},
    {"IWbemServices::CreateInstanceEnum", 1, Path, L"IWbemServices->CreateInstanceEnum(BiosWmiMethod)",
     L"IWbemServices::CreateInstanceEnum", true},
    {"IEnumWbemClassObject::Next", 1, Path, L"IEnumWbemClassObject->Next()", L"IEnumWbemClassObject::Next", true},
    {Get, 1, Path, L"IWbemClassObject->Get(path)", L"instance of zvqBIntM::Get(\"__PATH\""},
    {"IWbemServices::ExecMethod", 1, Execute, L"IWbemServices->ExecMethod(BIOS method)", L"IWbemServices::ExecMethod",
     true},
    {Get, 2, Output, L"OutputDataBlockInstance->Get(OutputDataBlock)", L"output::Get(\"OutData\""},
    {"IWbemClassObject::QueryInterface", 1, Output, L"OutputDataBlock->QueryInterface(OutputDataObject)",
     L"output::Get(\"OutData\"", true},
    {Get, 3, Output, L"OutputDataObject->Get(ReturnCode)", L"OutData::Get(\"rwReturnCode\""},
    {Get, 4, Output, L"OutputDataObject->Get(outputData)", L"OutData::Get(\"Data\""},
};

// The vectors for the signature, the input and the answer.
constexpr Step Vectors[] = {
    {"SafeArrayCreateVector", 1, Array, L"SafeArrayCreateVector()", L"zvqBDataIn::SpawnInstance"},
    {"SafeArrayCreateVector", 2, Array, L"SafeArrayCreateVector()", L"new zvqBDataIn::Put(\"Size\""},
    {"SafeArrayCreateVector", 3, Output, L"SafeArrayCreateVector(OutputDataSize)", L"OutData::Get(\"rwReturnCode\""},
};

// Four elements of the signature, two of the input.
constexpr Step Elements[] = {
    {"SafeArrayPutElement", 1, Array, L"SafeArrayPutElement()", L"zvqBDataIn::SpawnInstance"},
    {"SafeArrayPutElement", 4, Array, L"SafeArrayPutElement()", L"zvqBDataIn::SpawnInstance"},
    {"SafeArrayPutElement", 5, Array, L"SafeArrayPutElement()", L"new zvqBDataIn::Put(\"Size\""},
    {"SafeArrayPutElement", 6, Array, L"SafeArrayPutElement()", L"new zvqBDataIn::Put(\"Size\""},
};

class CommandFailure : public FirmwareTest
{
protected:
    Reply RunBoth() { return RunCommand({1, 2}, 4); }

    // Lets the step give `result`, which is to be logged as `logged` and to end the command.
    template <class Result>
    void ExpectFailure(const Step& step, Result result, HRESULT logged)
    {
        SCOPED_TRACE(step.site + std::string{", call "} + std::to_string(step.call));
        plan.Clear();
        transcript.Clear();
        Fail(step.site, Fault::Nth(step.call, result));

        const Reply reply = RunBoth();

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{Failed(step.method, step.text, logged)});
        EXPECT_EQ(wmi->Outstanding(), 0);
        std::vector<std::wstring> made = Steps();
        ASSERT_GE(made.size(), 2u);
        EXPECT_EQ(made.back(), L"CoUninitialize()");
        EXPECT_EQ(made[made.size() - 2], L"IWbemServices::Release() = 0");
        made.pop_back();
        std::erase_if(made, [](const std::wstring& call) { return call.ends_with(L"::Release() = 0"); });
        ASSERT_FALSE(made.empty());
        EXPECT_TRUE(made.back().starts_with(step.last)) << Narrow(made.back());

        plan.Clear();
        EXPECT_EQ(RunBoth().code, 0) << "the next command";
    }
};

TEST_F(CommandFailure, OfAnyCallIsLoggedOnceWithItsStatusAndEndsTheCommand)
{
    for (const Step& step : CallsOfWmi)
    {
        for (const HRESULT hr : {static_cast<HRESULT>(WBEM_E_ACCESS_DENIED), E_OUTOFMEMORY})
        {
            ExpectFailure(step, hr, hr);
        }
    }
}

TEST_F(CommandFailure, IsASuccessfulCallThatGivesNoObject)
{
    for (const Step& step : CallsOfWmi)
    {
        if (step.givesObject)
        {
            ExpectFailure(step, S_OK, S_OK);
        }
    }
}

TEST_F(CommandFailure, IsALackOfInstancesAndATimeOut)
{
    for (const WBEMSTATUS status : {WBEM_S_FALSE, WBEM_S_TIMEDOUT})
    {
        transcript.Clear();
        wmi->script[FirmwareNamespace].instances[L"zvqBIntM"] = {{}, static_cast<HRESULT>(status)};

        const Reply reply = RunBoth();

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{Failed(Path, L"IEnumWbemClassObject->Next()", static_cast<HRESULT>(status))});
    }
}

TEST_F(CommandFailure, OfAVectorIsLoggedAsAnUnspecifiedError)
{
    for (const Step& step : Vectors)
    {
        ExpectFailure(step, 0, E_FAIL);
    }
}

TEST_F(CommandFailure, OfAnElementIsLoggedOnceWithItsStatus)
{
    for (const Step& step : Elements)
    {
        ExpectFailure(step, DISP_E_BADINDEX, DISP_E_BADINDEX);
        EXPECT_EQ(plan.Calls("SafeArrayPutElement"), 6) << "of the command that worked";
    }
}

TEST_F(CommandFailure, OfAnElementEndsTheFilling)
{
    Fail("SafeArrayPutElement", Fault::Nth(2, E_INVALIDARG));

    RunBoth();

    EXPECT_EQ(plan.Calls("SafeArrayPutElement"), 2);
}

TEST_F(CommandFailure, OnAMachineWithoutTheFirmwareClassIsToldInOneLine)
{
    wmi->script[FirmwareNamespace].classes.clear();

    const Reply reply = RunBoth();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    ASSERT_EQ(Log().size(), 1u);
    EXPECT_EQ(Describe(Log()[0]),
              L"Warning(test client) class Zv::Tessel::Server::Shared::WMI::ZVBiosWmi.ExecuteCommand - failed on "
              L"function IWbemServices->GetObject(InputDataBlock) with HRESULT 0x80041002");
}

TEST_F(CommandFailure, OfMemoryForATextIsAGeneralFailure)
{
    RunBoth();
    const int texts = plan.Calls("SysAllocString");
    ASSERT_GE(texts, 5) << "namespace, method, two classes, instances";
    for (int text = 1; text <= texts; ++text)
    {
        plan.Clear();
        Fail("SysAllocString", Fault::Nth(text, 0));

        const Reply reply = RunBoth();

        EXPECT_EQ(reply.code, 0x20000002) << "text " << text;
        EXPECT_EQ(reply.text, L"{}") << "text " << text;
        EXPECT_EQ(wmi->Outstanding(), 0) << "text " << text;
        EXPECT_EQ(ledgers.comJoins.Uneven(), L"") << "text " << text;
    }
}

TEST_F(CommandFailure, OfThePathIsLoggedWhenTheInstanceHasBeenReleased)
{
    Fail(Get, Fault::Nth(1, E_FAIL));

    RunBoth();

    const std::vector<std::wstring> order = transcript.Of({L"instance of zvqBIntM::Release", L"Warning"});
    ASSERT_EQ(order.size(), 2u);
    EXPECT_EQ(order.front(), L"instance of zvqBIntM::Release() = 0");
}

} // namespace
