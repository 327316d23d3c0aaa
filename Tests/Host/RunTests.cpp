#include "Program.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Zv::Testing
{
namespace
{

constexpr char ServicesName[] = R"({"property":"Name","wmiClass":"Win32_Process","wmiNamespace":"ROOT\\CIMV2",)"
                                R"("filter":"Name = 'services.exe'"})";

TEST(HostRun, TakesTheRequestFromAFile)
{
    const TemporaryFolder folder;
    const Outcome outcome = RunHost({"run", "16", folder.Write("request.json", ServicesName)});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output, "{\"result\":\"services.exe\"}\n");
}

TEST(HostRun, TakesTheRequestFromStandardInput)
{
    EXPECT_EQ(RunHost({"run", "32", "-"}, ServicesName).output, "{\"result\":[\"services.exe\"]}\n");
}

TEST(HostRun, TakesTheFunctionByNameOrInHexadecimal)
{
    EXPECT_EQ(RunHost({"run", "GetWmiPropertyValue", "-"}, ServicesName).output, "{\"result\":\"services.exe\"}\n");
    EXPECT_EQ(RunHost({"run", "0x10", "-"}, ServicesName).output, "{\"result\":\"services.exe\"}\n");
}

TEST(HostRun, TakesARequestInUtf16)
{
    std::string bytes = "\xff\xfe";
    for (const char c : std::string{ServicesName})
    {
        bytes += c;
        bytes += '\0';
    }
    EXPECT_EQ(RunHost({"run", "16", "-"}, bytes).output, "{\"result\":\"services.exe\"}\n");
}

TEST(HostRun, PrintsProgressTextsOnePerLineBeforeTheResponse)
{
    const Outcome outcome = RunHost({"run", "256", "-"}, ServicesName);
    EXPECT_EQ(outcome.exitCode, 0);
    const std::vector<std::string> lines = outcome.OutputLines();
    ASSERT_EQ(lines.size(), 2U) << outcome.output;
    EXPECT_NE(lines[0].find(R"(instance of Win32_Process\n{\n)"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[1], "{}");
}

TEST(HostRun, PrintsAnObjectPerLineForPrograms)
{
    const Outcome outcome = RunHost({"run", "256", "-", "--json"}, ServicesName);
    const std::vector<std::string> lines = outcome.OutputLines();
    ASSERT_EQ(lines.size(), 2U) << outcome.output;
    EXPECT_EQ(lines[0].rfind(R"({"progress":")", 0), 0U) << lines[0];
    EXPECT_EQ(lines[1], R"({"code":0,"hex":"0x00000000","name":"Success","response":{}})");
}

TEST(HostRun, PrintsTheResponseOfAFailedCommandToo)
{
    const Outcome outcome = RunHost({"run", "3"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "{}\n");
    EXPECT_EQ(outcome.error, "0x20000001: unsupported function: function 3\n");
}

TEST(HostRun, SendsAnEmptyObjectWhenNoRequestIsGiven)
{
    const Outcome outcome = RunHost({"run", "256"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.error, "0x2000000e: no class given: function 256\n");
}

TEST(HostRun, LetsTheModuleJudgeTheRequest)
{
    const Outcome outcome = RunHost({"run", "16", "-", "--json"}, "{\"property\":");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output,
              "{\"code\":536870934,\"hex\":\"0x20000016\",\"name\":\"RequestMalformed\",\"response\":null}\n");
    EXPECT_EQ(outcome.error, "0x20000016: the request is not valid JSON: function 16\n");
}

TEST(HostRun, SurvivesRequestsOfAnyDepthAndLength)
{
    EXPECT_EQ(RunHost({"run", "16", "-"}, std::string(1000000, '[')).error,
              "0x20000016: the request is not valid JSON: function 16\n");
    EXPECT_EQ(RunHost({"run", "16", "-"}, '"' + std::string(3000000, 'x') + '"').error,
              "0x2000000c: no property given: function 16\n");
}

TEST(HostRun, RefusesAFunctionThatIsNeitherNumberNorName)
{
    for (const char* const function : {"foo", "", "-1", "1x", "4294967296", "0x", "16.0"})
    {
        const Outcome outcome = RunHost({"run", function});
        EXPECT_EQ(outcome.exitCode, 2) << function;
        EXPECT_EQ(outcome.output, "") << function;
        EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
    }
}

TEST(HostRun, RefusesARequestThatIsNotText)
{
    const Outcome outcome = RunHost({"run", "16", "-"}, "\xff");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.error, "standard input is neither UTF-8 nor UTF-16 with a byte order mark\n");
}

TEST(HostRun, CannotReadAFileThatIsNotThere)
{
    const Outcome outcome = RunHost({"run", "16", "no-such-file.json"});
    EXPECT_EQ(outcome.exitCode, 4);
    EXPECT_EQ(outcome.error.rfind("cannot read no-such-file.json: ", 0), 0U) << outcome.error;
}

} // namespace
} // namespace Zv::Testing
