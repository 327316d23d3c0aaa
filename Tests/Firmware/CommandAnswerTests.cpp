// What becomes of the firmware's answer to a raw command.

#include "Tests/Firmware/FirmwareTest.h"

#include <oleauto.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <set>

namespace
{

using namespace Zv::Testing;

constexpr char Method[] = "GetOutputData";
constexpr int ReadingOfTheData = 4; // after the path, the output object and the return code

// An array of one-byte elements that starts at any index.
Value ArrayFrom(VARTYPE type, LONG lower, ByteVector bytes)
{
    return Value::Other([type, lower, bytes = std::move(bytes)](VARIANT* variant) {
        SAFEARRAYBOUND bound{static_cast<ULONG>(bytes.size()), lower};
        variant->parray = SafeArrayCreate(type, 1, &bound);
        variant->vt = static_cast<VARTYPE>(VT_ARRAY | type);
        std::memcpy(variant->parray->pvData, bytes.data(), bytes.size());
        return S_OK;
    });
}

Value Odd(VARTYPE type, std::uint32_t bits = 0)
{
    return Value::Other([type, bits](VARIANT* variant) {
        variant->vt = type;
        variant->ulVal = bits;
        return S_OK;
    });
}

// Memory that the module gets is full of what was there before.
class CommandAnswer : public FirmwareTest
{
protected:
    CommandAnswer()
    {
        calls->Replace<"malloc", void*(std::size_t)>([this](std::size_t size) {
            void* const block = calls->Original<"malloc", void*(std::size_t)>()(size);
            return block == nullptr ? block : std::memset(block, 0xa5, size);
        });
    }

    void ExpectData(const ByteVector& expected)
    {
        const Reply reply = RunCommand({}, static_cast<unsigned int>(expected.size()));

        EXPECT_EQ(reply.code, 0);
        EXPECT_EQ(Narrow(reply.text), Narrow(Response(0, expected)));
    }

    [[nodiscard]] static LogLine WrongSize(int requested, int received)
    {
        return Warning(L"%S.%S - invalid return data size. requested %d byte, but retuned %d byte", ZvBiosWmiClass,
                       Method, requested, received);
    }
};

TEST_F(CommandAnswer, OfTheSizeAskedForComesByteForByte)
{
    for (const std::size_t size : {4u, 128u, 1024u, 4096u})
    {
        ByteVector data(size);
        for (std::size_t index = 0; index < size; ++index)
        {
            data[index] = static_cast<std::uint8_t>(index * 7 + 1);
        }
        AnswerWithData(Value::Bytes(data));

        ExpectData(data);
    }
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandAnswer, WithoutBytesHoldsTheCodeOnlyWhateverTheFirmwareReturns)
{
    AnswerWithData(Value::Bytes({1, 2, 3, 4}));

    ExpectData({});
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandAnswer, WithAVerdictAgainstTheCommandIsASuccessWithTheDataAllTheSame)
{
    AnswerWith(Value::Object(
        Instance(L"OutData", {{L"rwReturnCode", Odd(VT_UI4, 0x80000003)}, {L"Data", Value::Bytes({1, 2, 3, 4})}})));

    const Reply reply = RunCommand({}, 4);

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, Response(0x80000003, {1, 2, 3, 4}));
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandAnswer, WithACodeThatIsNoNumberOf32BitsReadsAs0AndShowsNoAddress)
{
    for (const Value& code : {Value::Text(L"7"), Value::Bytes({1, 2, 3}), Value::Object(Instance(L"embedded", {})),
                              Value::Null(), Odd(VT_R8, 7), Odd(VT_I8, 7)})
    {
        AnswerWith(Value::Object(Instance(L"OutData", {{L"rwReturnCode", code}})));

        EXPECT_EQ(Narrow(RunCommand({}, 0).text), Narrow(Response(0, {})));
    }
}

TEST_F(CommandAnswer, OfAnotherSizeIsNamedAndNothingOfItIsHandedOut)
{
    const struct
    {
        int requested;
        int received;
    } cases[] = {{4, 0}, {4, 3}, {4, 5}, {4, 128}, {128, 4}, {1024, 1023}, {4096, 128}, {4096, 4097}};
    for (const auto& [requested, received] : cases)
    {
        transcript.Clear();
        AnswerWithData(Value::Bytes(ByteVector(static_cast<std::size_t>(received), 0x77)));

        ExpectData(ByteVector(static_cast<std::size_t>(requested), 0));

        EXPECT_EQ(Log(), std::vector{WrongSize(requested, received)});
    }
}

TEST_F(CommandAnswer, OfAnotherSizeIsNamedInTheseWords)
{
    AnswerWithData(Value::Bytes(ByteVector(128, 1)));

    RunCommand({}, 4096);

    ASSERT_EQ(Log().size(), 1u);
    EXPECT_EQ(Describe(Log()[0]),
              L"Warning(test client) class Zv::Tessel::Server::Shared::WMI::ZVBiosWmi.GetOutputData - invalid return "
              L"data size. requested 4096 byte, but retuned 128 byte");
}

TEST_F(CommandAnswer, ThatIsNoByteArrayIsNamedAndNothingOfItIsHandedOut)
{
    const struct
    {
        const char* what;
        Value data;
    } cases[] = {
        {"null", Value::Null()},
        {"nothing", Odd(VT_EMPTY)},
        {"a byte array without array", Odd(VT_ARRAY | VT_UI1)},
        {"a number", Value::Int(4)},
        {"a text", Value::Text(L"data")},
        {"signed bytes", ArrayFrom(VT_I1, 0, {1, 2, 3, 4})},
        {"numbers", Value::Ints({1, 2, 3, 4})},
        {"booleans", Value::Bools({true, true, true, true})},
        {"texts", Value::Texts({L"1", L"2", L"3", L"4"})},
        {"an object", Value::Object(Instance(L"embedded", {}))},
    };
    for (const auto& [what, data] : cases)
    {
        SCOPED_TRACE(what);
        transcript.Clear();
        AnswerWithData(data);

        ExpectData({0, 0, 0, 0});

        EXPECT_EQ(Log(), std::vector{Warning(L"%S.%S - return data is invalid", ZvBiosWmiClass, Method)});
    }
}

TEST_F(CommandAnswer, IsCopiedFromItsLowerBoundUpToTheSizeAndToTheSameIndexes)
{
    const struct
    {
        LONG lower;
        ByteVector copied;
    } cases[] = {
        {0, {1, 2, 3, 4}},          {1, {0, 1, 2, 3}},  {3, {0, 0, 0, 1}},  {4, {0, 0, 0, 0}},
        {0x7ffffff0, {0, 0, 0, 0}}, {-1, {2, 3, 4, 0}}, {-4, {0, 0, 0, 0}}, // what lies before index 0 has no place in
                                                                            // the answer
    };
    for (const auto& [lower, copied] : cases)
    {
        SCOPED_TRACE(lower);
        AnswerWithData(ArrayFrom(VT_UI1, lower, {1, 2, 3, 4}));

        ExpectData(copied);
    }
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandAnswer, IsAskedForNoElementBeforeItsLowerBoundOrBeyondItsSize)
{
    for (const int lower : {0, 1, 3, 4, 5})
    {
        plan.Clear();
        AnswerWithData(ArrayFrom(VT_UI1, lower, {1, 2, 3, 4}));

        RunCommand({}, 4);

        EXPECT_EQ(plan.Calls("SafeArrayGetElement"), std::max(4 - lower, 0)) << lower;
    }
}

TEST_F(CommandAnswer, LacksTheElementsThatCannotBeFetched)
{
    AnswerWithData(Value::Bytes({1, 2, 3, 4}));
    Fail("SafeArrayGetElement", Fault::Nth(2, DISP_E_BADINDEX));

    ExpectData({1, 0, 3, 4});
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandAnswer, ThatLeavesTheReceivingVectorAloneIsZero)
{
    Fail("IWbemClassObject::Get", Fault::Nth(ReadingOfTheData, S_OK));

    ExpectData({0, 0, 0, 0});
    EXPECT_TRUE(Log().empty());
}

TEST_F(CommandAnswer, HasOneOwnerForTheReceivingVectorReplacedOrNot)
{
    std::set<const SAFEARRAY*> alive; // vectors that the module made
    calls->Replace<"SafeArrayCreateVector", decltype(SafeArrayCreateVector)>(
        [&alive](VARTYPE type, LONG lower, ULONG count) {
            SAFEARRAY* const made = SafeArrayCreateVector(type, lower, count);
            alive.insert(made);
            return made;
        });
    calls->Replace<"SafeArrayDestroy", decltype(SafeArrayDestroy)>([&alive](SAFEARRAY* array) {
        const bool first = alive.erase(array) == 1;
        EXPECT_TRUE(first) << "destroyed twice";
        return first ? SafeArrayDestroy(array) : E_INVALIDARG;
    });
    calls->Replace<"VariantClear", decltype(VariantClear)>([&alive](VARIANTARG* value) {
        if ((value->vt & VT_ARRAY) != 0)
        {
            alive.erase(value->parray); // unless it is WMI's
        }
        return VariantClear(value);
    });

    AnswerWithData(Value::Bytes({1, 2, 3, 4}));
    ExpectData({1, 2, 3, 4});
    EXPECT_TRUE(alive.empty());

    for (const HRESULT hr : {S_OK, E_FAIL})
    {
        plan.Clear();
        Fail("IWbemClassObject::Get", Fault::Nth(ReadingOfTheData, hr));
        RunCommand({}, 4);
        EXPECT_TRUE(alive.empty());
    }
}

TEST_F(CommandAnswer, WithoutAnObjectIsAFailedQueryForIt)
{
    for (const Value& outData : {Value::Null(), Odd(VT_EMPTY), Odd(VT_UNKNOWN), Value::Int(1), Value::Text(L"OutData")})
    {
        transcript.Clear();
        AnswerWith(outData);

        const Reply reply = RunCommand({}, 4);

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(),
                  std::vector{Failed(Method, L"OutputDataBlock->QueryInterface(OutputDataObject)", E_NOINTERFACE)});
    }
}

} // namespace
