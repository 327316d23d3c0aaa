// Function 256: the text of each instance through the callback.

#include "Tests/Queries/QueryTest.h"

namespace
{

using namespace Zv::Testing;

class ClassObjectText : public QueryTest
{
protected:
    void HoldsTexts(std::initializer_list<const wchar_t*> texts, HRESULT end = WBEM_S_FALSE)
    {
        Results& results = wmi->script[L"ns"].instances[L"C"];
        results.end = end;
        for (const wchar_t* const text : texts)
        {
            results.instances.push_back(Instance(L"C", {}, text));
        }
    }
    static LogLine TextFailed(HRESULT hr)
    {
        return Failed("GetClassObjectText", L"IWbemClassObject->GetObjectText", hr);
    }
};

TEST_F(ClassObjectText, OfThreeInstancesComesInThreeCallsWithAnEmptyResponse)
{
    HoldsTexts({L"instance of C { 1 };", L"instance of C { 2 };", L"instance of C { 3 };"});

    const Reply reply = GetText();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text, L"{}");
    EXPECT_EQ(reply.progress,
              (std::vector<std::wstring>{L"instance of C { 1 };", L"instance of C { 2 };", L"instance of C { 3 };"}));
    EXPECT_TRUE(Log().empty());
}

TEST_F(ClassObjectText, IsAskedForWithoutFlags)
{
    HoldsTexts({L"text"});

    GetText();

    EXPECT_EQ(transcript.Of({L"C::"}),
              (std::vector<std::wstring>{L"C::GetObjectText(0) = 0x00000000", L"C::Release() = 0"}));
}

TEST_F(ClassObjectText, OfAnyLengthComesWhole)
{
    const std::wstring text(100'000, L'x');
    HoldsTexts({text.c_str()});

    const Reply reply = GetText();

    EXPECT_EQ(reply.code, 0) << "the limit is the response's, not the callback's";
    EXPECT_EQ(reply.progress, std::vector<std::wstring>{text});
}

TEST_F(ClassObjectText, MayBeWrittenToByTheCallback)
{
    HoldsTexts({L"text", L"more"});
    int delivered = 0;

    const Reply reply =
        Zv::Testing::Run(service->Get(), session->Get(), 256, LR"({"wmiClass":"C","wmiNamespace":"ns"})",
                         ProgressCallback{[&](wchar_t* text) {
                             text[0] = L'X';
                             ++delivered;
                         }});

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(delivered, 2);
}

TEST_F(ClassObjectText, WithoutACallbackIsReadAndASuccess)
{
    HoldsTexts({L"one", L"two"});

    const Reply reply = Zv::Testing::Run(service->Get(), session->Get(), 256,
                                         LR"({"wmiClass":"C","wmiNamespace":"ns"})", ProgressCallback{});

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(plan.Calls("IWbemClassObject::GetObjectText"), 2);
}

TEST_F(ClassObjectText, ThatCannotBeMadeForTheFirstInstanceIsAGeneralFailure)
{
    HoldsTexts({L"one", L"two"});
    Fail("IWbemClassObject::GetObjectText", Fault::Nth(1, E_FAIL));

    const Reply reply = GetText();

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_TRUE(reply.progress.empty());
    EXPECT_EQ(Log(), std::vector{TextFailed(E_FAIL)});
    EXPECT_EQ(plan.Calls("IEnumWbemClassObject::Next"), 1) << "the walk ends there";
}

TEST_F(ClassObjectText, ThatCannotBeMadeForALaterInstanceEndsTheCommandWithSuccess)
{
    HoldsTexts({L"one", L"two", L"three"});
    Fail("IWbemClassObject::GetObjectText", Fault::Nth(2, E_FAIL));

    const Reply reply = GetText();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.progress, std::vector<std::wstring>{L"one"});
    EXPECT_EQ(Log(), std::vector{TextFailed(E_FAIL)});
}

TEST_F(ClassObjectText, KeepsItsSuccessWhenTheWalkFailsAfterADeliveredInstance)
{
    HoldsTexts({L"one"}, static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE));

    const Reply reply = GetText();

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(Log(),
              std::vector{Failed("GetClassObjectText", L"IEnumWbemClassObject->Next", WBEM_E_TRANSPORT_FAILURE)});
}

TEST_F(ClassObjectText, LosesItsSuccessWhenClassOrQueryTurnOutInvalid)
{
    HoldsTexts({L"one"}, static_cast<HRESULT>(WBEM_E_INVALID_CLASS));
    EXPECT_EQ(GetText().code, 0x2000000f);

    wmi->script.clear();
    HoldsTexts({L"one"}, static_cast<HRESULT>(WBEM_E_INVALID_QUERY));
    EXPECT_EQ(GetText().code, 0x20000010);
}

TEST_F(ClassObjectText, IsDeliveredBeforeTheNextInstanceIsTaken)
{
    HoldsTexts({L"one", L"two"});
    std::vector<int> taken;

    Zv::Testing::Run(service->Get(), session->Get(), 256, LR"({"wmiClass":"C","wmiNamespace":"ns"})",
                     ProgressCallback{[&](wchar_t*) { taken.push_back(plan.Calls("IEnumWbemClassObject::Next")); }});

    EXPECT_EQ(taken, (std::vector<int>{1, 2}));
}

} // namespace
