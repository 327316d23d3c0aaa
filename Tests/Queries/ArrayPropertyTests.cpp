// Properties that are arrays.

#include "Tests/Queries/QueryTest.h"

#include <oleauto.h>

#include <utility>

namespace
{

using namespace Zv::Testing;

class ArrayProperty : public QueryTest
{
protected:
    static LogLine ArrayFailed(const wchar_t* call, HRESULT hr) { return Failed("GetSafeArrayData", call, hr); }
};

TEST_F(ArrayProperty, OfIntegersIsAnArrayOfIntegers)
{
    Holds({Value::Ints({3, -1, 2})});

    EXPECT_EQ(Get().text, LR"({"result":[3,-1,2]})");
}

TEST_F(ArrayProperty, OfStringsIsAnArrayOfStrings)
{
    Holds({Value::Texts({L"b", L"", L"a\"c"})});

    EXPECT_EQ(Get().text, LR"({"result":["b","","a\"c"]})");
}

TEST_F(ArrayProperty, OfBooleansIsAnArrayOfBooleans)
{
    Holds({Value::Bools({true, false, true})});

    EXPECT_EQ(Get().text, LR"({"result":[true,false,true]})");
}

TEST_F(ArrayProperty, ThatIsEmptyIsAnEmptyArrayAndASuccess)
{
    Holds({Value::Ints({})});

    EXPECT_EQ(Get().code, 0);
    EXPECT_EQ(Get().text, LR"({"result":[]})");
}

TEST_F(ArrayProperty, OfTheLastInstanceWinsInSingleMode)
{
    Holds({Value::Ints({1, 2}), Value::Texts({L"x"})});

    EXPECT_EQ(Get().text, LR"({"result":["x"]})");
}

TEST_F(ArrayProperty, GivesWayToALaterScalarInSingleMode)
{
    Holds({Value::Ints({1, 2}), Value::Int(3)});

    EXPECT_EQ(Get().text, LR"({"result":3})");
}

TEST_F(ArrayProperty, IsOneNestedElementInArrayMode)
{
    Holds({Value::Ints({1, 2}), Value::Int(3), Value::Texts({L"x"}), Value::Bools({})});

    EXPECT_EQ(GetAll().text, LR"({"result":[[1,2],3,["x"],[]]})");
}

TEST_F(ArrayProperty, IsWalkedBetweenAccessAndUnaccess)
{
    calls->Watch<"SafeArrayAccessData", decltype(SafeArrayAccessData)>(Traced::Yes);
    calls->Watch<"SafeArrayGetElement", decltype(SafeArrayGetElement)>(Traced::Yes);
    calls->Watch<"SafeArrayUnaccessData", decltype(SafeArrayUnaccessData)>(Traced::Yes);
    Holds({Value::Ints({1, 2})});

    Get();

    EXPECT_EQ(transcript.Of({L"SafeArray"}),
              (std::vector<std::wstring>{
                  L"SafeArrayAccessData(ptr, ptr) = 0x00000000", L"SafeArrayGetElement(ptr, ptr, ptr) = 0x00000000",
                  L"SafeArrayGetElement(ptr, ptr, ptr) = 0x00000000", L"SafeArrayUnaccessData(ptr) = 0x00000000"}));
}

TEST_F(ArrayProperty, ThatCannotBeAccessedIsNoValueWhateverItsElements)
{
    Fail("SafeArrayAccessData", Fault::Every(E_UNEXPECTED));
    for (const Value& value : {Value::Ints({1}), Value::Texts({L"x"}), Value::Bools({true})})
    {
        wmi->script.clear();
        transcript.Clear();
        Holds({value});

        const Reply reply = Get();

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{ArrayFailed(L"SafeArrayAccessData(VT_ARRAY | VT_UI1)", E_UNEXPECTED)});
        EXPECT_EQ(plan.Calls("SafeArrayUnaccessData"), 0);
    }
}

TEST_F(ArrayProperty, EndsAtTheElementThatCannotBeFetched)
{
    Holds({Value::Ints({1, 2, 3})});
    Fail("SafeArrayGetElement", Fault::Nth(2, E_UNEXPECTED));

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0x20000002) << "not every element was appended";
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{ArrayFailed(L"SafeArrayGetElement", E_UNEXPECTED)});
    EXPECT_EQ(plan.Calls("SafeArrayGetElement"), 2);
    EXPECT_EQ(plan.Calls("SafeArrayUnaccessData"), 1);
}

TEST_F(ArrayProperty, ThatEndedEarlyStandsAsFarAsItGotWhenAnotherInstanceSucceeds)
{
    Holds({Value::Ints({1, 2, 3}), Value::Int(9)});
    Fail("SafeArrayGetElement", Fault::Nth(3, E_UNEXPECTED));

    EXPECT_EQ(GetAll().text, LR"({"result":[[1,2],9]})");
}

TEST_F(ArrayProperty, ThatCannotBeLetGoIsLoggedAndStillAValue)
{
    Holds({Value::Ints({1, 2})});
    // The call is made all the same, or the array could not be destroyed.
    calls->Replace<"SafeArrayUnaccessData", decltype(SafeArrayUnaccessData)>([](SAFEARRAY* array) -> HRESULT {
        SafeArrayUnaccessData(array);
        return E_UNEXPECTED;
    });

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, LR"({"result":[1,2]})");
    EXPECT_EQ(Log(), std::vector{ArrayFailed(L"SafeArrayUnaccessData", E_UNEXPECTED)});
}

TEST_F(ArrayProperty, IsLetGoWhicheverAllocationFailsMeanwhile)
{
    Holds({Value::Texts(std::vector<std::wstring>(40, std::wstring(1000, L'x')))}); // more than fits on the stack
    const auto allocations = [this] { return plan.Calls("malloc") + plan.Calls("realloc"); };
    ASSERT_EQ(Get().code, 0);
    const int made = allocations();
    ASSERT_GT(made, 1);

    for (const char* const site : {"malloc", "realloc"})
    {
        for (int call = 1; call <= made; ++call)
        {
            plan.Clear();
            Fail(site, Fault::Nth(call, 0));
            Get();
            EXPECT_EQ(ledgers.accessedSafeArrays, 0) << site << " " << call;
        }
    }
}

TEST_F(ArrayProperty, WithoutAnArrayIsNoValue)
{
    Holds({Value::Other([](VARIANT* variant) {
        variant->vt = VT_ARRAY | VT_I4;
        variant->parray = nullptr;
        return S_OK;
    })});

    EXPECT_EQ(Get().code, 0x20000002);
    EXPECT_EQ(GetAll().code, 0x20000002);
}

// What the VARIANT says of the elements, and what they are.
class ArrayPropertyOfOtherElements : public ArrayProperty,
                                     public ::testing::WithParamInterface<std::pair<VARTYPE, VARTYPE>>
{
};

TEST_P(ArrayPropertyOfOtherElements, ThanItSaysIsNotRead)
{
    const auto [said, made] = GetParam();
    Holds({Value::Other([said, made](VARIANT* variant) {
        SAFEARRAY* const array = SafeArrayCreateVector(made, 0, 2);
        void* data = nullptr;
        SafeArrayAccessData(array, &data);
        if (made == VT_I8 || made == VT_I4)
        {
            *static_cast<LONG*>(data) = 4711; // no address of anything
        }
        SafeArrayUnaccessData(array);
        variant->vt = static_cast<VARTYPE>(VT_ARRAY | said);
        variant->parray = array;
        return S_OK;
    })});

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{ArrayFailed(L"SafeArrayAccessData(VT_ARRAY | VT_UI1)", E_INVALIDARG)});
    EXPECT_EQ(plan.Calls("SafeArrayGetElement"), 0);
}

INSTANTIATE_TEST_SUITE_P(Pairs, ArrayPropertyOfOtherElements,
                         ::testing::Values(std::pair{VT_BSTR, VT_I8}, std::pair{VT_BSTR, VT_I4},
                                           std::pair{VT_BSTR, VT_UNKNOWN}, std::pair{VT_I4, VT_BSTR},
                                           std::pair{VT_I4, VT_I8}, std::pair{VT_I4, VT_I2}, std::pair{VT_BOOL, VT_I4},
                                           std::pair{VT_BOOL, VT_UI1}));

TEST_F(ArrayProperty, OfTenThousandElementsIsReadWhole)
{
    Holds({Value::Ints(std::vector<std::int32_t>(10'000, 7))});

    EXPECT_EQ(Get().text.size(), std::wcslen(LR"({"result":[]})") + 2 * 10'000 - 1);
}

} // namespace
