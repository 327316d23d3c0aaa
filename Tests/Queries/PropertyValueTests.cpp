// Functions 16 and 32: which values become which JSON.

#include "Tests/Queries/QueryTest.h"

#include <oleauto.h>

#include <set>

namespace
{

using namespace Zv::Testing;

class PropertyValue : public QueryTest
{
};

using PropertyValues = PropertyValue; // of all instances

TEST_F(PropertyValue, OfTextIsAString)
{
    Holds({Value::Text(L"8A4F")});

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, LR"({"result":"8A4F"})");
    EXPECT_TRUE(Log().empty());
}

TEST_F(PropertyValue, OfEmptyTextIsAnEmptyString)
{
    Holds({Value::Text(L"")});

    EXPECT_EQ(Get().text, LR"({"result":""})");
}

TEST_F(PropertyValue, OfANullBstrIsAnEmptyString)
{
    Holds({Value::Other([](VARIANT* variant) {
        variant->vt = VT_BSTR;
        variant->bstrVal = nullptr;
        return S_OK;
    })});

    EXPECT_EQ(Get().text, LR"({"result":""})");
}

TEST_F(PropertyValue, OfTextIsCopiedWholeWithCharactersOfValueZero)
{
    Holds({Value::Text(std::wstring{L"a\0b", 3})});

    EXPECT_EQ(Get().text, LR"({"result":"a\u0000b"})");
}

TEST_F(PropertyValue, OfBooleansIsTrueOrFalse)
{
    Holds({Value::Bool(true)});
    EXPECT_EQ(Get().text, LR"({"result":true})");

    wmi->script.clear();
    Holds({Value::Bool(false)});
    EXPECT_EQ(Get().text, LR"({"result":false})");
}

TEST_F(PropertyValue, OfNumbersIsASignedInteger)
{
    for (const std::int32_t number : {0, 1, -1, INT32_MAX, INT32_MIN})
    {
        wmi->script.clear();
        Holds({Value::Int(number)});
        EXPECT_EQ(Get().text, L"{\"result\":" + std::to_wstring(number) + L"}");
    }
}

TEST_F(PropertyValue, OfAnUnsigned32BitNumberComesSignedSinceItsVariantIs)
{
    Holds({Value::Int(-1, CIM_UINT32)});

    EXPECT_EQ(Get().text, LR"({"result":-1})");
}

TEST_F(PropertyValue, OfA64BitNumberIsTheStringThatWmiGives)
{
    Holds({Value::Text(L"18446744073709551615")});

    EXPECT_EQ(Get().text, LR"({"result":"18446744073709551615"})");
}

struct Unconvertible
{
    const char* name;
    Value value;
};

void PrintTo(const Unconvertible& unconvertible, std::ostream* stream)
{
    *stream << unconvertible.name;
}

template <class Set>
Value Typed(VARTYPE type, Set set)
{
    return Value::Other([type, set](VARIANT* variant) {
        variant->vt = type;
        set(*variant);
        return S_OK;
    });
}

class PropertyValueOfAnotherType : public QueryTest, public ::testing::WithParamInterface<Unconvertible>
{
};

TEST_P(PropertyValueOfAnotherType, IsSkippedAndFoundNothing)
{
    Holds({GetParam().value});

    for (const Reply& reply : {Get(), GetAll()})
    {
        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
    }
    EXPECT_TRUE(Log().empty());
}

TEST_P(PropertyValueOfAnotherType, LeavesTheValueOfAnotherInstanceAsItIs)
{
    Holds({Value::Int(1), GetParam().value});

    EXPECT_EQ(Get().text, LR"({"result":1})");
    EXPECT_EQ(GetAll().text, LR"({"result":[1]})");
}

INSTANTIATE_TEST_SUITE_P(
    Each, PropertyValueOfAnotherType,
    ::testing::Values(Unconvertible{"Null", Value::Null()}, Unconvertible{"Empty", Typed(VT_EMPTY, [](VARIANT&) {})},
                      Unconvertible{"SmallInteger", Typed(VT_I2, [](VARIANT& v) { v.iVal = 5; })},
                      Unconvertible{"Byte", Typed(VT_UI1, [](VARIANT& v) { v.bVal = 5; })},
                      Unconvertible{"UnsignedInteger", Typed(VT_UI4, [](VARIANT& v) { v.ulVal = 5; })},
                      Unconvertible{"Real", Typed(VT_R8, [](VARIANT& v) { v.dblVal = 1.5; })},
                      Unconvertible{"Date", Typed(VT_DATE, [](VARIANT& v) { v.date = 1.5; })},
                      Unconvertible{"Object", Value::Object(Instance(L"embedded", {}))},
                      Unconvertible{"Bytes", Value::Bytes({1, 2, 3})},
                      Unconvertible{"Reals", Typed(VT_ARRAY | VT_R8,
                                                   [](VARIANT& v) { v.parray = SafeArrayCreateVector(VT_R8, 0, 2); })}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(PropertyValue, OfSeveralInstancesIsTheLastOnes)
{
    Holds({Value::Int(1), Value::Text(L"two"), Value::Bool(true)});

    EXPECT_EQ(Get().text, LR"({"result":true})");
}

TEST_F(PropertyValues, AreAnArrayInTheOrderOfTheInstances)
{
    Holds({Value::Int(1), Value::Text(L"two"), Value::Bool(true), Value::Null(), Value::Int(5)});

    const Reply reply = GetAll();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, LR"({"result":[1,"two",true,5]})");
}

TEST_F(PropertyValues, OfOneInstanceAreAnArrayToo)
{
    Holds({Value::Text(L"one")});

    EXPECT_EQ(GetAll().text, LR"({"result":["one"]})");
}

TEST_F(PropertyValues, OfNoInstanceAreNotWritten)
{
    Holds({});

    const Reply reply = GetAll();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}") << "not even the empty array";
}

TEST_F(PropertyValue, ThatIsNullOnEveryInstanceIsNotWritten)
{
    Holds({Value::Null(), Value::Null()});

    for (const Reply& reply : {Get(), GetAll()})
    {
        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
    }
}

TEST_F(PropertyValue, IsAskedForByNameOnceForEachInstance)
{
    Holds({Value::Int(1), Value::Int(2)});

    Get();

    EXPECT_EQ(transcript.Of({L"C::Get"}),
              (std::vector<std::wstring>{L"C::Get(\"P\", 0) = 0x00000000", L"C::Get(\"P\", 0) = 0x00000000"}));
}

TEST_F(PropertyValue, ThatTheObjectDoesNotHaveIsNamed)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"Other", Value::Int(1)}})}};

    for (const unsigned int function : {16u, 32u})
    {
        transcript.Clear();
        const Reply reply = Get(function);
        EXPECT_EQ(reply.code, 0x2000000d);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{Failed("GetPropertyValue", L"IWbemClassObject->Get", WBEM_E_NOT_FOUND)});
        EXPECT_EQ(plan.Calls("IEnumWbemClassObject::Next"), function == 16 ? 1 : 2) << "the walk ends there";
    }
}

TEST_F(PropertyValue, ThatALaterInstanceDoesNotHaveIsNamedToo)
{
    Holds({Value::Int(1)});
    wmi->script[L"ns"].instances[L"C"].instances.push_back(Instance(L"C", {}));

    EXPECT_EQ(Get().code, 0x2000000d);
    EXPECT_EQ(Get().text, L"{}");
}

TEST_F(PropertyValue, ThatCannotBeReadIsAGeneralFailure)
{
    Holds({Value::Int(1)});
    Fail("IWbemClassObject::Get", Fault::Every(WBEM_E_ACCESS_DENIED));

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed("GetPropertyValue", L"IWbemClassObject->Get", WBEM_E_ACCESS_DENIED)});
}

TEST_F(PropertyValue, ThatCannotBeReadLaterKeepsTheSuccessButWritesNoResult)
{
    Holds({Value::Int(1), Value::Int(2)});
    Fail("IWbemClassObject::Get", Fault::Nth(2, WBEM_E_ACCESS_DENIED));

    const Reply reply = Get();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, L"{}");
}

TEST_F(PropertyValue, IsAskedForWithoutRegardToCaseAsWmiDoes)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"p", Value::Int(1)}})}};

    EXPECT_EQ(Get().text, LR"({"result":1})");
}

TEST_F(PropertyValue, SurvivesTheFailureOfAnyCallOfThePlatform)
{
    Holds({Value::Text(L"text"), Value::Texts({L"a", L"b"})});
    GetAll();
    const std::map<std::string, int> sites = plan.Sites();

    int faults = 0;
    for (const auto& [site, count] : sites)
    {
        // These give back; left undone by a fault, the fault itself would be the leak.
        static const std::set<std::string> GiveBack = {"free",           "VariantClear",     "SysFreeString",
                                                       "CoUninitialize", "SafeArrayDestroy", "SafeArrayUnaccessData"};
        if (GiveBack.contains(site))
        {
            continue;
        }
        const bool allocates = site == "malloc" || site == "realloc" || site == "SysAllocString";
        const std::uint64_t failure = allocates ? 0 : static_cast<std::uint64_t>(E_FAIL);
        for (int call = 1; call <= count; ++call)
        {
            SCOPED_TRACE(site + " " + std::to_string(call));
            plan.Clear();
            const std::size_t heap = ledgers.heap.Count();
            Fail(site, Fault::Nth(call, failure));
            const Reply reply = GetAll();
            EXPECT_TRUE(reply.code == 0 || reply.code == 0x20000002) << reply.code;
            EXPECT_EQ(ledgers.heap.Count(), heap);
            EXPECT_EQ(wmi->Outstanding(), 0);
            // A thread that could not join COM leaves it all the same.
            EXPECT_EQ(ledgers.comJoins.Take(), site == "CoInitializeEx" ? -1 : 0);
            plan.Clear();
            EXPECT_EQ(GetAll().code, 0) << "the next command";
            ++faults;
        }
    }
    RecordProperty("faults", faults);
    EXPECT_GT(faults, 20);
}

} // namespace
