// The request record of functions 4 and 8.

#include "Tests/Records/RecordTest.h"

namespace
{

using namespace Zv::Testing;

constexpr char Record[] = "ReadFilterBiosEventJason";
constexpr char RecordType[] = "struct Zv::Tessel::Server::Services::WMI::ReadFilterBiosEventJason";

// Function 8 without a registration shows the filter: 0 finds nothing to stop (2), and so does an id that nobody
// listens for; function 4 without firmware fails after it has read its filter.
class EventFilter : public RecordTest
{
protected:
    std::vector<LogLine> LinesOfTheRecord()
    {
        std::vector<LogLine> lines;
        for (const LogLine& line : Log())
        {
            if (line.text.find(L"JsonUtils") != line.text.npos || line.text.find(L"ReadFilter") != line.text.npos)
            {
                lines.push_back(line);
            }
        }
        return lines;
    }

    static LogLine Invalid()
    {
        return Warning(L"%S.%S - specified BIOS event id for filtering is invalid", RecordType, Record);
    }
};

TEST_F(EventFilter, OfTheTextNullIsNoneWithoutALine)
{
    EXPECT_EQ(Run(4, L"null").code, 0x20000002) << "read, and then there is no firmware";
    EXPECT_TRUE(LinesOfTheRecord().empty());

    EXPECT_EQ(Run(8, L" null ").text, LR"({"result":2})");
    EXPECT_TRUE(LinesOfTheRecord().empty());
}

TEST_F(EventFilter, OfTextThatFunction8CouldNotParseIsNoneWithoutALine)
{
    EXPECT_EQ(Run(8, L"").text, LR"({"result":2})");

    EXPECT_TRUE(LinesOfTheRecord().empty()) << "the document is null";
}

TEST_F(EventFilter, ThatIsMissingIsNoneAndNamed)
{
    Run(4, L"{}");

    EXPECT_EQ(LinesOfTheRecord(), std::vector{MissingKey(L"filterEvent")});
}

TEST_F(EventFilter, ThatIsNullIsNoneAndNamed)
{
    EXPECT_EQ(Run(8, LR"({"filterEvent":null})").text, LR"({"result":2})");

    EXPECT_EQ(LinesOfTheRecord(), std::vector{NullValue(L"filterEvent")});
}

TEST_F(EventFilter, OfANonObjectIsNoneAndMissing)
{
    for (const wchar_t* const request : {L"5", L"[]", L"\"null\"", L"true"})
    {
        transcript.Clear();
        EXPECT_EQ(Run(8, request).text, LR"({"result":2})") << Narrow(request);
        EXPECT_EQ(LinesOfTheRecord(), std::vector{MissingKey(L"filterEvent")}) << Narrow(request);
    }
}

TEST_F(EventFilter, ThatIsNoNumberIsRefused)
{
    const struct
    {
        const wchar_t* request;
        int type;
    } cases[] = {
        {LR"({"filterEvent":"5"})", 5},  {LR"({"filterEvent":[]})", 4},    {LR"({"filterEvent":{}})", 3},
        {LR"({"filterEvent":true})", 2}, {LR"({"filterEvent":false})", 1},
    };
    for (const unsigned int function : {4u, 8u})
    {
        for (const auto& [request, type] : cases)
        {
            transcript.Clear();
            const Reply reply = Run(function, request);
            EXPECT_EQ(reply.code, 0x20000013) << function << " " << Narrow(request);
            EXPECT_EQ(reply.text, L"{}");
            EXPECT_EQ(Log(), (std::vector{WrongType(L"filterEvent", 6, type), Invalid()}));
        }
    }
}

TEST_F(EventFilter, TakesAnyNumber)
{
    for (const wchar_t* const request : {LR"({"filterEvent":0})", LR"({"filterEvent":-1})", LR"({"filterEvent":1.5})",
                                         LR"({"filterEvent":4294967295})", LR"({"filterEvent":1e30})"})
    {
        transcript.Clear();
        EXPECT_EQ(Run(8, request).code, 0) << Narrow(request);
        EXPECT_TRUE(LinesOfTheRecord().empty()) << Narrow(request);
    }
}

} // namespace
