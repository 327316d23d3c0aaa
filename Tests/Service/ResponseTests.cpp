// The response text: its limit, its memory, and what happens when there is none.

#include "Tests/Support/ModuleTest.h"

#include <cstdlib>

namespace
{

using namespace Zv::Testing;

class Response : public ModuleTest
{
protected:
    static constexpr const wchar_t* Request = LR"({"property":"P","wmiClass":"C","wmiNamespace":"ns"})";

    // Function 16 answers {"result":"xx…"}: 13 characters around the text.
    static constexpr std::size_t Around = 13;
    static constexpr std::size_t Longest = 65535;

    void AnswerWith(std::size_t characters)
    {
        wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Text(std::wstring(characters, L'x'))}})}};
    }

    // Lets just the allocation of that size fail.
    void FailAllocationOf(std::size_t bytes)
    {
        calls->Replace<"malloc", void*(std::size_t)>(
            [bytes](std::size_t size) { return size == bytes ? nullptr : std::malloc(size); });
    }
};

TEST_F(Response, Of65535CharactersIsHandedOut)
{
    AnswerWith(Longest - Around);

    const Reply reply = Run(16, Request);

    EXPECT_EQ(reply.code, 0);
    EXPECT_EQ(reply.text.size(), Longest);
    EXPECT_TRUE(reply.text.ends_with(LR"(x"})"));
}

TEST_F(Response, Of65536CharactersIsRefusedAndTheSlotUntouched)
{
    AnswerWith(Longest - Around + 1);

    const Reply reply = Run(16, Request);

    EXPECT_EQ(reply.code, 0x20000017);
    EXPECT_EQ(reply.slot, Reply::Slot::Untouched);
}

TEST_F(Response, OfAMillionCharactersIsRefused)
{
    AnswerWith(1'000'000);

    EXPECT_EQ(Run(16, Request).code, 0x20000017);
}

TEST_F(Response, IsMeasuredAsItIsWritten)
{
    // Each quotation mark is written as two characters.
    wmi->script[L"ns"].instances[L"C"] = {
        {Instance(L"C", {{L"P", Value::Text(std::wstring((Longest - Around) / 2, L'"'))}})}};
    EXPECT_EQ(Run(16, Request).code, 0);

    wmi->script[L"ns"].instances[L"C"] = {
        {Instance(L"C", {{L"P", Value::Text(std::wstring((Longest - Around) / 2 + 1, L'"'))}})}};
    EXPECT_EQ(Run(16, Request).code, 0x20000017);
}

TEST_F(Response, LiesInABlockOfMallocOfItsLengthAndTerminator)
{
    wchar_t request[] = L"{}";
    wchar_t* response = nullptr;
    const std::size_t before = ledgers.heap.Count();

    ExecuteRaw(service->Get(), session->Get(), 3, request, &response, CountingCallback::Empty().data());

    EXPECT_EQ(ledgers.heap.Count(), before + 1);
    EXPECT_EQ(ledgers.heap.Held().back(), L"6 bytes"); // "{}" and its terminator
    EXPECT_STREQ(response, L"{}");
    service->Get()->FreeBuffer(response);
    EXPECT_EQ(ledgers.heap.Count(), before);
}

TEST_F(Response, ThatCannotBeAllocatedIsNullAndLogged)
{
    AnswerWith(1000);
    FailAllocationOf((1000 + Around + 1) * sizeof(wchar_t));

    const Reply reply = Run(16, Request);

    EXPECT_EQ(reply.code, 0x20000002);
    EXPECT_EQ(reply.slot, Reply::Slot::Null);
    EXPECT_EQ(Log().back(),
              Error(L"%S.%S - cannot allocate memory for %s", WmiServiceClass, "ExecuteCommand", L"*outString"));
}

TEST_F(Response, ThatCannotBeAllocatedReplacesTheHandlersResult)
{
    FailAllocationOf(6);

    const Reply reply = Run(3, L"{}");

    EXPECT_EQ(reply.code, 0x20000002) << "not 0x20000001";
    EXPECT_EQ(reply.slot, Reply::Slot::Null);
}

TEST_F(Response, IsCompact)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Ints({1, 2, 3})}})}};

    EXPECT_EQ(Run(16, Request).text, LR"({"result":[1,2,3]})");
}

TEST_F(Response, EscapesWhatJsonMustEscapeAndNothingElse)
{
    wmi->script[L"ns"].instances[L"C"] = {
        {Instance(L"C", {{L"P", Value::Text(L"a\"b\\c\n\t\x01 \x00e9\x4e2d/" + std::wstring(1, L'\0') + L"z")}})}};

    EXPECT_EQ(Run(16, Request).text, L"{\"result\":\"a\\\"b\\\\c\\n\\t\\u0001 \x00e9\x4e2d/\\u0000z\"}");
}

TEST_F(Response, SurvivesTheFailureOfAnyAllocation)
{
    AnswerWith(100'000 / 4);
    Run(16, Request);
    const int allocations = plan.Calls("malloc");
    const int reallocations = plan.Calls("realloc");
    ASSERT_GT(allocations, 0);

    const auto survive = [this](const char* site, int call) {
        plan.Clear();
        transcript.Clear();
        const std::size_t before = ledgers.heap.Count();
        Fail(site, Fault::Nth(call, 0));
        const Reply reply = Run(16, Request);
        EXPECT_TRUE(reply.code == 0x20000002 || reply.code == 0) << site << " " << call << ": " << reply.code;
        EXPECT_NE(reply.slot, Reply::Slot::Untouched) << site << " " << call;
        EXPECT_EQ(ledgers.heap.Count(), before) << site << " " << call;
        plan.Clear();
        EXPECT_EQ(Run(16, Request).code, 0) << "after " << site << " " << call;
    };
    for (int call = 1; call <= allocations; ++call)
    {
        survive("malloc", call);
    }
    for (int call = 1; call <= reallocations; ++call)
    {
        survive("realloc", call);
    }
}

} // namespace
