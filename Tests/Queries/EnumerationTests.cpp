// The query and its walk, the same for functions 16, 32 and 256.

#include "Tests/Queries/QueryTest.h"

namespace
{

using namespace Zv::Testing;

class Enumeration : public QueryTest, public ::testing::WithParamInterface<unsigned int>
{
protected:
    Enumeration() { wmi->script[L"ns"]; }

    Reply RunQuery(const std::wstring& filter = L"\"\"")
    {
        const std::wstring request =
            LR"({"property":"P","wmiClass":"C","filter":)" + filter + LR"(,"wmiNamespace":"ns"})";
        return Run(GetParam(), request.c_str());
    }
    [[nodiscard]] const char* Method() const { return GetParam() == 256 ? "GetClassObjectText" : "GetPropertyValue"; }

    // Two instances that both can be delivered.
    [[nodiscard]] static Results TwoInstances(HRESULT end = WBEM_S_FALSE)
    {
        const auto instance = [](int value, const wchar_t* text) {
            return Instance(L"C", {{L"P", Value::Int(value)}}, text);
        };
        return {{instance(1, L"one"), instance(2, L"two")}, end};
    }
};

INSTANTIATE_TEST_SUITE_P(OfFunction, Enumeration, ::testing::Values(16u, 32u, 256u),
                         ::testing::PrintToStringParamName());

TEST_P(Enumeration, AsksForTheWholeClassWithoutAFilter)
{
    RunQuery();

    EXPECT_EQ(
        transcript.Of({L"IWbemServices::ExecQuery"}),
        std::vector<std::wstring>{LR"(IWbemServices::ExecQuery("WQL", "SELECT * FROM C", 48, null) = 0x00000000)"});
}

TEST_P(Enumeration, AsksWithAWhereClauseWhenThereIsAFilter)
{
    wmi->script[L"ns"].queries[L"SELECT * FROM C WHERE A = 'b'"] = TwoInstances();

    EXPECT_EQ(RunQuery(L"\"A = 'b'\"").code, 0);

    EXPECT_EQ(transcript.Of({L"IWbemServices::ExecQuery"}),
              std::vector<std::wstring>{
                  LR"(IWbemServices::ExecQuery("WQL", "SELECT * FROM C WHERE A = 'b'", 48, null) = 0x00000000)"});
}

TEST_P(Enumeration, TakesUpTo1024CharactersOfClassAndFilter)
{
    const std::wstring name(1500, L'c');
    const std::wstring filter(1500, L'f');
    Run(GetParam(),
        (LR"({"property":"P","wmiClass":")" + name + LR"(","filter":")" + filter + LR"(","wmiNamespace":"ns"})")
            .c_str());

    EXPECT_EQ(transcript.Of({L"IWbemServices::ExecQuery"}),
              std::vector<std::wstring>{L"IWbemServices::ExecQuery(\"WQL\", \"SELECT * FROM " + name.substr(0, 1024) +
                                        L" WHERE " + filter.substr(0, 1024) + L"\", 48, null) = 0x00000000"});
}

TEST_P(Enumeration, TakesOneInstanceAtATimeWithoutTimeOut)
{
    wmi->script[L"ns"].instances[L"C"] = TwoInstances();

    RunQuery();

    EXPECT_EQ(transcript.Of({L"IEnumWbemClassObject::Next"}),
              (std::vector<std::wstring>{L"IEnumWbemClassObject::Next(-1, 1) = 0x00000000",
                                         L"IEnumWbemClassObject::Next(-1, 1) = 0x00000000",
                                         L"IEnumWbemClassObject::Next(-1, 1) = 0x00000001"}));
}

TEST_P(Enumeration, ReleasesEachInstanceBeforeItTakesTheNext)
{
    wmi->script[L"ns"].instances[L"C"] = TwoInstances();

    RunQuery();

    EXPECT_EQ(transcript.Of({L"IEnumWbemClassObject", L"C::Release"}),
              (std::vector<std::wstring>{L"IEnumWbemClassObject::Next(-1, 1) = 0x00000000", L"C::Release() = 0",
                                         L"IEnumWbemClassObject::Next(-1, 1) = 0x00000000", L"C::Release() = 0",
                                         L"IEnumWbemClassObject::Next(-1, 1) = 0x00000001",
                                         L"IEnumWbemClassObject::Release() = 0"}));
}

TEST_P(Enumeration, ThatCannotBeStartedIsAGeneralFailureWhateverTheStatus)
{
    for (const WBEMSTATUS status : {WBEM_E_INVALID_QUERY, WBEM_E_INVALID_CLASS, WBEM_E_ACCESS_DENIED})
    {
        plan.Clear();
        transcript.Clear();
        Fail("IWbemServices::ExecQuery", Fault::Every(status));

        const Reply reply = RunQuery();

        EXPECT_EQ(reply.code, 0x20000002);
        EXPECT_EQ(reply.text, L"{}");
        EXPECT_EQ(Log(), std::vector{Failed("EnumClassObject", L"IWbemServices->ExecQuery", status)});
    }
}

TEST_P(Enumeration, OfAnUnknownClassSaysSo)
{
    const Reply reply = RunQuery();

    EXPECT_EQ(reply.code, 0x2000000f);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(Method(), L"IEnumWbemClassObject->Next", WBEM_E_INVALID_CLASS)});
}

TEST_P(Enumeration, WithABadFilterSaysSo)
{
    wmi->script[L"ns"].instances[L"C"] = TwoInstances();

    const Reply reply = RunQuery(L"\"not WQL\"");

    EXPECT_EQ(reply.code, 0x20000010);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(Method(), L"IEnumWbemClassObject->Next", WBEM_E_INVALID_QUERY)});
}

TEST_P(Enumeration, ThatFailsOtherwiseAtOnceIsAGeneralFailure)
{
    wmi->script[L"ns"].instances[L"C"] = {.instances = {}, .end = static_cast<HRESULT>(WBEM_E_ACCESS_DENIED)};

    const Reply reply = RunQuery();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(Method(), L"IEnumWbemClassObject->Next", WBEM_E_ACCESS_DENIED)});
}

TEST_P(Enumeration, ThatFailsOtherwiseLaterKeepsTheSuccessButWritesNoResult)
{
    wmi->script[L"ns"].instances[L"C"] = TwoInstances(static_cast<HRESULT>(WBEM_E_ACCESS_DENIED));

    const Reply reply = RunQuery();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(Log(), std::vector{Failed(Method(), L"IEnumWbemClassObject->Next", WBEM_E_ACCESS_DENIED)});
}

TEST_P(Enumeration, ThatFindsItsClassInvalidLaterSaysSo)
{
    wmi->script[L"ns"].instances[L"C"] = TwoInstances(static_cast<HRESULT>(WBEM_E_INVALID_CLASS));

    EXPECT_EQ(RunQuery().code, 0x2000000f);
}

TEST_P(Enumeration, ThatMatchesNothingIsAGeneralFailureWithoutALine)
{
    wmi->script[L"ns"].instances[L"C"] = {};

    const Reply reply = RunQuery();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_TRUE(reply.progress.empty());
    EXPECT_TRUE(Log().empty());
}

TEST_P(Enumeration, OfAThousandInstancesLeavesNothing)
{
    Results& results = wmi->script[L"ns"].instances[L"C"];
    for (int instance = 0; instance < 1000; ++instance)
    {
        results.instances.push_back(Instance(L"C", {{L"P", Value::Text(std::to_wstring(instance))}}, L"text"));
    }

    EXPECT_EQ(RunQuery().code, 0);
    EXPECT_EQ(plan.Calls("IEnumWbemClassObject::Next"), 1001);
}

} // namespace
