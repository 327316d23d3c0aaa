// The shared readers, seen through the first key of function 2 (a number) and of function 16 (a text).

#include "Tests/Records/RecordTest.h"

namespace
{

using namespace Zv::Testing;

class JsonUtilsReads : public RecordTest
{
protected:
    std::vector<LogLine> LogOf(unsigned int function, const wchar_t* request)
    {
        transcript.Clear();
        Run(function, request);
        return Log();
    }
};

constexpr char Firmware[] = "ReadBiosWmiCommandParamsJson";
constexpr char Property[] = "ReadGetWmiPropertyValueParamsJason";

TEST_F(JsonUtilsReads, AMissingKeyIsNamed)
{
    EXPECT_EQ(LogOf(2, L"{}"), (std::vector{MissingKey(L"command"), Refused(Firmware, "command")}));
    EXPECT_EQ(LogOf(16, L"{}"), (std::vector{MissingKey(L"property"), Refused(Property, "property")}));
}

TEST_F(JsonUtilsReads, ANullValueIsNamed)
{
    EXPECT_EQ(LogOf(2, LR"({"command":null})"), (std::vector{NullValue(L"command"), Refused(Firmware, "command")}));
    EXPECT_EQ(LogOf(16, LR"({"property":null})"), (std::vector{NullValue(L"property"), Refused(Property, "property")}));
}

TEST_F(JsonUtilsReads, AValueOfAnotherTypeThanANumberIsNamedWithBothTypes)
{
    const struct
    {
        const wchar_t* request;
        int type;
    } cases[] = {
        {LR"({"command":false})", 1}, {LR"({"command":true})", 2}, {LR"({"command":{}})", 3},
        {LR"({"command":[]})", 4},    {LR"({"command":"5"})", 5},
    };
    for (const auto& [request, type] : cases)
    {
        EXPECT_EQ(LogOf(2, request), (std::vector{WrongType(L"command", 6, type), Refused(Firmware, "command")}));
    }
}

TEST_F(JsonUtilsReads, AValueOfAnotherTypeThanAStringIsNamedWithBothTypes)
{
    const struct
    {
        const wchar_t* request;
        int type;
    } cases[] = {
        {LR"({"property":false})", 1}, {LR"({"property":true})", 2}, {LR"({"property":{}})", 3},
        {LR"({"property":[]})", 4},    {LR"({"property":5})", 6},
    };
    for (const auto& [request, type] : cases)
    {
        EXPECT_EQ(LogOf(16, request), (std::vector{WrongType(L"property", 5, type), Refused(Property, "property")}));
    }
}

TEST_F(JsonUtilsReads, AKeyIsMatchedExactly)
{
    for (const wchar_t* const request : {LR"({"Command":1})", LR"({"command ":1})", LR"({"comman":1})", LR"({"":1})"})
    {
        EXPECT_EQ(LogOf(2, request), (std::vector{MissingKey(L"command"), Refused(Firmware, "command")}));
    }
}

TEST_F(JsonUtilsReads, AKeyMayBeWrittenWithEscapes)
{
    EXPECT_EQ(Run(2, LR"({"\u0063ommand":1})").code, 0x20000004) << "the next key is the one that is missing";
}

TEST_F(JsonUtilsReads, TheLinesCarryTheSessionsClientId)
{
    const Session other{service->Get(), L"somebody else"};
    transcript.Clear();

    Zv::Testing::Run(service->Get(), other.Get(), 2, L"{}");

    ASSERT_EQ(Log().size(), 2u);
    EXPECT_EQ(Log()[0].context, L"somebody else");
    EXPECT_EQ(Log()[1].context, L"somebody else");
}

} // namespace
