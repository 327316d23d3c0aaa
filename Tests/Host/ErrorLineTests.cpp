#include "Host/Explain/HResults.h"
#include "Host/Explain/ResultCodes.h"

#include "Shared/Contract/ResultCode.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Zv::Testing
{
namespace
{

using namespace Zv::Tessel::Server::Services;

TEST(HostErrorLine, NamesCodeMeaningAndSubject)
{
    EXPECT_EQ(Host::ErrorLine(ClassInvalid, "Win32_Foo in ROOT\\CIMV2", ""),
              "0x2000000f: no such class: Win32_Foo in ROOT\\CIMV2");
}

TEST(HostErrorLine, DoesWithoutASubject)
{
    EXPECT_EQ(Host::ErrorLine(RequestMalformed, "", ""), "0x20000016: the request is not valid JSON");
}

TEST(HostErrorLine, AddsTheProblemOnlyToTheCodeThatSaysLittle)
{
    EXPECT_EQ(Host::ErrorLine(GeneralFailure, "X", "IWbemServices->ExecQuery gave 0x80041003 (access denied)"),
              "0x20000002: failed: X: IWbemServices->ExecQuery gave 0x80041003 (access denied)");
    EXPECT_EQ(Host::ErrorLine(GeneralFailure, "X", ""), "0x20000002: failed, or nothing found: X");
    EXPECT_EQ(Host::ErrorLine(PropertyNotFound, "X", "some problem"), "0x2000000d: no such property: X");
}

TEST(HostErrorLine, CopesWithACodeThatTheModuleNeverReturns)
{
    EXPECT_EQ(Host::ErrorLine(0x2000000a, "X", ""), "0x2000000a: unknown result code: X");
    EXPECT_EQ(Host::HexCode(-1), "0xffffffff");
    EXPECT_EQ(Host::FindResultCode(0x20000018), nullptr);
}

TEST(HostErrorLine, EveryCodeOfTheModuleIsExplained)
{
    std::set<int> expected{Success};
    for (int code = 0x20000001; code <= 0x20000017; ++code)
    {
        if (code != 0x2000000a && code != 0x2000000b)
        {
            expected.insert(code);
        }
    }
    std::set<int> explained;
    int previous = -1;
    for (const Host::ResultCodeInfo& info : Host::AllResultCodes())
    {
        EXPECT_GT(info.code, previous);
        previous = info.code;
        explained.insert(info.code);
        EXPECT_STRNE(info.name, "");
        EXPECT_STRNE(info.meaning, "");
        if (info.code != Success)
        {
            EXPECT_STRNE(info.causes, "") << info.name;
            EXPECT_STRNE(info.advice, "") << info.name;
        }
    }
    EXPECT_EQ(explained, expected);
}

TEST(HostErrorLine, StatusCodesOfWmiAreExplainedInOrder)
{
    unsigned int previous = 0;
    for (const Host::HResultInfo& info : Host::AllHResults())
    {
        EXPECT_GT(info.code, previous);
        previous = info.code;
        EXPECT_STRNE(info.meaning, "");
        EXPECT_STRNE(info.advice, "");
        EXPECT_EQ(Host::FindHResult(info.code), &info);
    }
    EXPECT_EQ(Host::FindHResult(0x12345678), nullptr);
}

} // namespace
} // namespace Zv::Testing
