// What a raw firmware command asks of WMI, call by call.

#include "Tests/Firmware/FirmwareTest.h"

#include <cstddef>
#include <ostream>

namespace
{

using namespace Zv::Testing;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

using Calls = std::vector<std::wstring>;

struct Block
{
    unsigned int returnSize;
    ByteVector input;
    const wchar_t* shownInput;
};

void PrintTo(const Block& block, std::ostream* stream)
{
    *stream << block.input.size() << " bytes in, " << block.returnSize << " bytes out";
}

class CommandSteps : public FirmwareTest, public ::testing::WithParamInterface<Block>
{
protected:
    [[nodiscard]] static std::wstring Method() { return L"zvqBIOSInt" + std::to_wstring(GetParam().returnSize); }

    // Every call up to the last one that reads the answer.
    [[nodiscard]] static Calls Expected()
    {
        const std::wstring put = L"new zvqBDataIn::Put(";
        Calls expected{
            LR"(IWbemServices::GetObject("zvqBIntM", 0, null, null))",
            LR"(zvqBIntM::GetMethod(")" + Method() + LR"(", 0))",
            L"zvqBIntM::Release() = 0",
            LR"(IWbemServices::GetObject("zvqBDataIn", 0, null, null))",
            L"zvqBDataIn::SpawnInstance(0)",
            L"zvqBDataIn::Release() = 0",
            put + LR"("Sign", 0, VT_ARRAY|VT_UI1 [53 45 43 55], 0))",
            put + LR"("Command", 0, VT_I4 131081, 0))",
            put + LR"("CommandType", 0, VT_I4 38, 0))",
            put + LR"("Size", 0, VT_I4 )" + std::to_wstring(GetParam().input.size()) + L", 0)",
            put + LR"("zvqBData", 0, VT_ARRAY|VT_UI1 )" + GetParam().shownInput + L", 0)",
            Method() + L"::SpawnInstance(0)",
            L"new " + Method() + LR"(::Put("InData", 0, VT_UNKNOWN ptr, 0))",
            Method() + L"::Release() = 0",
            LR"(IWbemServices::CreateInstanceEnum("ZvqBIntM", 48, null))",
            L"IEnumWbemClassObject::Next(2000, 1)",
            L"IEnumWbemClassObject::Release() = 0",
            LR"(instance of zvqBIntM::Get("__PATH", 0))",
            L"instance of zvqBIntM::Release() = 0",
            LR"(IWbemServices::ExecMethod("the firmware", ")" + Method() + LR"(", 0, null, ptr, ptr, null))",
            LR"(output::Get("OutData", 0))",
            LR"(OutData::Get("rwReturnCode", 0))",
        };
        if (GetParam().returnSize != 0)
        {
            expected.push_back(LR"(OutData::Get("Data", 0))");
        }
        for (std::wstring& call : expected)
        {
            if (!call.ends_with(L"::Release() = 0"))
            {
                call += L" = 0x00000000";
            }
        }
        return expected;
    }
};

TEST_P(CommandSteps, AreTheseInThisOrder)
{
    EXPECT_EQ(RunCommand(GetParam().input, GetParam().returnSize).code, 0);

    Calls steps = Steps();
    const Calls expected = Expected();
    ASSERT_GE(steps.size(), expected.size());
    steps.resize(expected.size());
    EXPECT_EQ(steps, expected);
    EXPECT_TRUE(Log().empty());
}

TEST_P(CommandSteps, EndWithEverythingLetGoTheAnswerWrittenAndTheConnectionClosed)
{
    RunCommand(GetParam().input, GetParam().returnSize);

    Calls steps = Steps();
    const std::size_t read = Expected().size();
    constexpr std::size_t objects = 4;
    ASSERT_GE(steps.size(), read + objects);
    steps.erase(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(read));
    EXPECT_THAT(Calls(steps.begin(), steps.begin() + objects),
                UnorderedElementsAre(L"OutData::Release() = 0", L"output::Release() = 0",
                                     L"new zvqBDataIn::Release() = 0", L"new " + Method() + L"::Release() = 0"));
    steps.erase(steps.begin(), steps.begin() + objects);
    if (GetParam().returnSize != 0)
    {
        const std::wstring encoding = L"CryptBinaryToStringW(ptr, ";
        ASSERT_GE(steps.size(), 2u);
        EXPECT_TRUE(steps[0].starts_with(encoding) && steps[1].starts_with(encoding)) << Narrow(steps[0]);
        steps.erase(steps.begin(), steps.begin() + 2);
    }
    EXPECT_THAT(steps, ElementsAre(L"IWbemServices::Release() = 0", L"CoUninitialize()"));
}

TEST_P(CommandSteps, BringTheBlockThatWasFilledToTheMethodOfTheSize)
{
    RunCommand(GetParam().input, GetParam().returnSize);

    EXPECT_EQ(firmware->Method(), Method());
    EXPECT_EQ(firmware->Command(), 131081);
    EXPECT_EQ(firmware->CommandType(), 38);
    EXPECT_EQ(firmware->Size(), static_cast<std::int32_t>(GetParam().input.size()));
    EXPECT_EQ(firmware->Input(), GetParam().input);
}

TEST_P(CommandSteps, MakeVectorsOfBytesFrom0ForTheSignatureTheInputAndTheAnswer)
{
    calls->Watch<"SafeArrayCreateVector", decltype(SafeArrayCreateVector)>(Traced::Yes);

    RunCommand(GetParam().input, GetParam().returnSize);

    Calls expected{L"SafeArrayCreateVector(0x11, 0, 4) = ptr"};
    for (const std::size_t size : {GetParam().input.size(), static_cast<std::size_t>(GetParam().returnSize)})
    {
        if (size != 0)
        {
            expected.push_back(L"SafeArrayCreateVector(0x11, 0, " + Show(static_cast<ULONG>(size)) + L") = ptr");
        }
    }
    EXPECT_EQ(transcript.Of({L"SafeArrayCreateVector"}), expected);
}

INSTANTIATE_TEST_SUITE_P(OfEachMethod, CommandSteps,
                         ::testing::Values(Block{0, {}, L"null"}, Block{0, {0xff}, L"[ff]"},
                                           Block{4, {1, 2, 3, 4}, L"[01 02 03 04]"},
                                           Block{128, {5, 4, 3, 2, 1}, L"[05 04 03 02 01]"}, Block{1024, {}, L"null"},
                                           Block{4096, {0, 0x80}, L"[00 80]"}));

class CommandNumbers : public FirmwareTest
{
};

TEST_F(CommandNumbers, ThatFillAll32BitsArePutAsTheirSignedForms)
{
    EXPECT_EQ(Run(2, LR"({"command":4294967295,"commandType":2147483648,"inputDataSize":0,"returnDataSize":0})").code,
              0);

    EXPECT_EQ(transcript.Of({L"new zvqBDataIn::Put(\"Command"}),
              (Calls{LR"(new zvqBDataIn::Put("Command", 0, VT_I4 -1, 0) = 0x00000000)",
                     LR"(new zvqBDataIn::Put("CommandType", 0, VT_I4 -2147483648, 0) = 0x00000000)"}));
}

TEST_F(CommandNumbers, GoToTheFirstInstanceAlone)
{
    wmi->script[FirmwareNamespace].instances[L"zvqBIntM"].instances.push_back(
        Instance(L"second", {{L"__PATH", Value::Text(L"another")}}));

    RunCommand({}, 0);

    EXPECT_EQ(plan.Calls("IEnumWbemClassObject::Next"), 1);
    EXPECT_EQ(transcript.Of({L"IWbemServices::ExecMethod"}),
              Calls{LR"(IWbemServices::ExecMethod("the firmware", "zvqBIOSInt0", 0, null, ptr, ptr, null) = )"
                    L"0x00000000"});
}

} // namespace
