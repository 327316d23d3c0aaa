// The same questions, asked of the system's own WMI client.
#include "Program.h"

#include "Host/Text/RequestText.h"
#include "Platform/Windows/Utf8.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace Zv::Testing
{
namespace
{

struct Question
{
    const char* wmiClass;
    const char* property;
};

void PrintTo(const Question& question, std::ostream* stream)
{
    *stream << question.wmiClass << '.' << question.property;
}

// The values of all instances, one per line below the property's name.
std::vector<std::string> AskWmic(const Question& question)
{
    Outcome outcome =
        RunProgram("C:\\windows\\system32\\wbem\\wmic.exe", {"path", question.wmiClass, "get", question.property});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.error;
    outcome.output = Zv::ToUtf8(Host::DecodeRequest(outcome.output, "wmic"));
    std::vector<std::string> values;
    for (const std::string& line : outcome.OutputLines())
    {
        if (!line.empty())
        {
            values.push_back(line);
        }
    }
    if (!values.empty())
    {
        values.erase(values.begin()); // the heading
    }
    return values;
}

class HostComparedWithWmic : public testing::TestWithParam<Question>
{
};

TEST_P(HostComparedWithWmic, ReadsTheSameValues)
{
    const std::vector<std::string> expected = AskWmic(GetParam());
    ASSERT_FALSE(expected.empty());

    const Outcome all = RunHost({"get", GetParam().wmiClass, GetParam().property, "--all"});
    EXPECT_EQ(all.exitCode, 0) << all.error;
    EXPECT_EQ(all.OutputLines(), expected);

    const Outcome last = RunHost({"get", GetParam().wmiClass, GetParam().property});
    EXPECT_EQ(last.exitCode, 0) << last.error;
    ASSERT_EQ(last.OutputLines().size(), 1U) << last.output;
    EXPECT_EQ(last.OutputLines().front(), expected.back());
}

INSTANTIATE_TEST_SUITE_P(
    Questions, HostComparedWithWmic,
    testing::Values(Question{"Win32_BaseBoard", "Product"}, Question{"Win32_OperatingSystem", "Caption"},
                    Question{"Win32_OperatingSystem", "BuildNumber"}, Question{"Win32_BIOS", "Version"},
                    Question{"Win32_BIOS", "SMBIOSMajorVersion"},
                    Question{"Win32_Processor", "NumberOfLogicalProcessors"},
                    Question{"Win32_ComputerSystem", "TotalPhysicalMemory"}, Question{"Win32_Service", "Name"}),
    [](const testing::TestParamInfo<Question>& instance) {
        return std::string{instance.param.wmiClass} + '_' + instance.param.property;
    });

} // namespace
} // namespace Zv::Testing
