// Requests that no well-meaning client sends.

#include "Tests/Support/ModuleTest.h"

namespace
{

using namespace Zv::Testing;

class HostileRequest : public ModuleTest
{
protected:
    static constexpr unsigned int Functions[] = {2, 4, 8, 16, 32, 64, 128, 256};

    // What each function answers to a request without any usable member.
    static int CodeWithoutMembers(unsigned int function)
    {
        switch (function)
        {
        case 2:
            return 0x20000003;
        case 4:
            return 0x20000002; // there is no firmware
        case 128:
            return 0x20000012; // nor its namespace
        case 8:
            return 0;
        case 16:
        case 32:
            return 0x2000000c;
        case 64:
            return 0x20000014;
        default:
            return 0x2000000e;
        }
    }

    static std::wstring Nested(std::size_t depth) { return std::wstring(depth, L'[') + std::wstring(depth, L']'); }
};

TEST_F(HostileRequest, ThatIsNoObjectCountsAsOneWithoutMembers)
{
    for (const wchar_t* const request : {L"null", L"true", L"false", L"0", L"-1.5", L"\"text\"", L"[]", L"[{}]"})
    {
        for (const unsigned int function : Functions)
        {
            const Reply reply = Run(function, request);
            EXPECT_EQ(reply.code, CodeWithoutMembers(function)) << function << " " << Narrow(request);
            EXPECT_EQ(reply.slot, Reply::Slot::Text);
        }
    }
}

TEST_F(HostileRequest, NestedAThousandLevelsDeepIsParsed)
{
    for (const unsigned int function : Functions)
    {
        EXPECT_EQ(Run(function, Nested(1000).c_str()).code, CodeWithoutMembers(function)) << function;
    }
    EXPECT_EQ(Run(3, Nested(1000).c_str()).code, 0x20000001);
}

TEST_F(HostileRequest, NestedAThousandLevelsDeepBesideOtherBracketsIsParsed)
{
    EXPECT_EQ(Run(3, (L"[{}," + Nested(999) + L",[]]").c_str()).code, 0x20000001);
    EXPECT_EQ(Run(3, (L"[{}," + Nested(1000) + L",[]]").c_str()).code, 0x20000016);
}

TEST_F(HostileRequest, NestedDeeperIsMalformed)
{
    for (const std::size_t depth : {1001u, 32'000u, 1'000'000u})
    {
        for (const unsigned int function : Functions)
        {
            const Reply reply = Run(function, Nested(depth).c_str());
            EXPECT_EQ(reply.code, function == 8 ? 0 : 0x20000016) << function << " " << depth;
        }
    }
}

TEST_F(HostileRequest, NestedDeeperInObjectsIsMalformed)
{
    std::wstring request;
    for (int level = 0; level < 50'000; ++level)
    {
        request += L"{\"a\":";
    }
    EXPECT_EQ(Run(16, request.c_str()).code, 0x20000016);

    request += L"1" + std::wstring(50'000, L'}');
    EXPECT_EQ(Run(16, request.c_str()).code, 0x20000016);
}

TEST_F(HostileRequest, OpenedAMillionTimesAndNeverClosedIsMalformed)
{
    EXPECT_EQ(Run(16, std::wstring(1'000'000, L'[').c_str()).code, 0x20000016);
    EXPECT_EQ(Run(8, std::wstring(1'000'000, L'{').c_str()).code, 0);
}

TEST_F(HostileRequest, WithBracketsInStringsIsNotDeep)
{
    const std::wstring request = L"{\"a\":\"" + std::wstring(5000, L'[') + L"\\\"" + std::wstring(5000, L'{') + L"\"}";

    EXPECT_EQ(Run(3, request.c_str()).code, 0x20000001);
}

TEST_F(HostileRequest, WithManyShallowBracketsIsNotDeep)
{
    std::wstring request = L"[";
    for (int element = 0; element < 5000; ++element)
    {
        request += L"[],{},";
    }
    request += L"[]]";

    EXPECT_EQ(Run(3, request.c_str()).code, 0x20000001);
}

TEST_F(HostileRequest, OfMegabytesIsRead)
{
    const std::wstring text(4 * 1024 * 1024, L'x');

    EXPECT_EQ(Run(16, (L"{\"unused\":\"" + text + L"\"}").c_str()).code, 0x2000000c);
    EXPECT_EQ(Run(16, (L"{\"" + text + L"\":1}").c_str()).code, 0x2000000c);
    EXPECT_EQ(Run(16, text.c_str()).code, 0x20000016);
    EXPECT_EQ(Run(16, (L"{}" + std::wstring(text.size(), L' ')).c_str()).code, 0x2000000c);
}

TEST_F(HostileRequest, WithTheSameKeyTwiceMeansTheFirst)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Int(1)}, {L"Q", Value::Int(2)}})}};

    const Reply reply = Run(16, LR"({"property":"P","property":"Q","wmiClass":"C","wmiNamespace":"ns"})");

    EXPECT_EQ(reply.text, LR"({"result":1})");
}

TEST_F(HostileRequest, WithAnEscapedLoneSurrogateIsMalformed)
{
    EXPECT_EQ(Run(16, LR"({"property":"\ud800"})").code, 0x20000016);
    EXPECT_EQ(Run(16, LR"({"property":"\ud800x"})").code, 0x20000016);
    EXPECT_EQ(Run(16, LR"({"property":"\ud800\ud800"})").code, 0x20000016);
    EXPECT_EQ(Run(16, LR"({"property":"\udc00"})").code, 0x20000016);
    EXPECT_EQ(Run(16, LR"({"property":"\uDFFFx"})").code, 0x20000016);
    EXPECT_EQ(Run(16, LR"({"property":"\ud83d\ude00\ude00"})").code, 0x20000016);
    EXPECT_EQ(Run(16, LR"({"\udc00":0})").code, 0x20000016);
}

TEST_F(HostileRequest, WithARawLoneSurrogateIsPassedOnAsItIs)
{
    for (const wchar_t surrogate : {L'\xd800', L'\xdfff'})
    {
        const std::wstring name{L'a', surrogate, L'b'};
        wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{name, Value::Text(name)}})}};
        const std::wstring request = L"{\"property\":\"" + name + L"\",\"wmiClass\":\"C\",\"wmiNamespace\":\"ns\"}";

        const Reply reply = Run(16, request.c_str());

        EXPECT_EQ(reply.code, 0);
        EXPECT_EQ(reply.text, L"{\"result\":\"" + name + L"\"}");
    }
}

TEST_F(HostileRequest, WithARawControlCharacterInAStringIsMalformed)
{
    EXPECT_EQ(Run(16, L"{\"property\":\"a\nb\"}").code, 0x20000016);
}

TEST_F(HostileRequest, WithANumberThatNoDoubleHoldsIsMalformed)
{
    EXPECT_EQ(Run(2, LR"({"command":1e400})").code, 0x20000016);
}

TEST_F(HostileRequest, WithATerminatorInATextEndsThere)
{
    wmi->script[L"ns"].instances[L"C"] = {{Instance(L"C", {{L"P", Value::Int(5)}})}};

    EXPECT_EQ(Run(16, LR"({"property":"P\u0000Q","wmiClass":"C\u0000D","wmiNamespace":"ns\u0000"})").text,
              LR"({"result":5})");
    EXPECT_EQ(Run(16, LR"({"property":"\u0000P","wmiClass":"C","wmiNamespace":"ns"})").code, 0x2000000c);
}

TEST_F(HostileRequest, WithKeysInAnotherCaseMissesThem)
{
    EXPECT_EQ(Run(16, LR"({"Property":"P","wmiClass":"C","wmiNamespace":"ns"})").code, 0x2000000c);
}

TEST_F(HostileRequest, WithFormatSpecificationsInItsTextsPassesThemOnAsTheyStand)
{
    wmi->script[L"%s%n"];

    Run(16, LR"({"property":"%s%n","wmiClass":"%s%n","filter":"%n%S","wmiNamespace":"%s%n"})");

    EXPECT_EQ(transcript.Of({L"IWbemServices::ExecQuery"}),
              std::vector<std::wstring>{
                  LR"(IWbemServices::ExecQuery("WQL", "SELECT * FROM %s%n WHERE %n%S", 48, null) = 0x00000000)"});
}

} // namespace
