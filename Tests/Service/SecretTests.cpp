// What requests say in confidence stays out of the log, however a command ends.

#include "Tests/Support/ModuleTest.h"
#include "Tests/Support/Text.h"

namespace
{

using namespace Zv::Testing;

class Secret : public ModuleTest
{
protected:
    static constexpr wchar_t Word[] = L"hunter2";

    // Of all that was logged, the lines that show the word.
    std::vector<std::string> LinesThatShowIt() const
    {
        std::vector<std::string> lines;
        for (const LogLine& line : Log())
        {
            if ((line.text + line.format).find(Word) != std::wstring::npos)
            {
                lines.push_back(Narrow(line.text));
            }
        }
        return lines;
    }
};

TEST_F(Secret, APasswordIsNotLoggedWhereverTheCommandFails)
{
    for (const wchar_t* const request :
         {LR"({"name":"n","value":"v","password":"hunter2"})", LR"({"password":"hunter2"})",
          LR"({"name":"n","value":"v","password":["hunter2"]})", LR"({"name":{"password":"hunter2"},"value":"v"})",
          LR"({"name":"n","value":"hunter2)"})
    {
        for (const FunctionNumber function : {FunctionNumber::SetBiosSetting, FunctionNumber::SetBiosSystemDefaults})
        {
            Run(function, request);
        }
    }
    EXPECT_FALSE(Log().empty());
    EXPECT_EQ(LinesThatShowIt(), std::vector<std::string>{});
}

TEST_F(Secret, TheBytesOfAFirmwareCommandAreNotLogged)
{
    Run(2, LR"({"command":1,"commandType":1,"inputDataSize":9,"inputData":"hunter2","returnDataSize":4})");
    Run(2, LR"({"command":1,"commandType":1,"inputDataSize":6,"inputData":"hunter2=","returnDataSize":4})");
    Run(2, LR"({"command":1,"commandType":1,"inputDataSize":5,"inputData":"hunter2=","returnDataSize":4})");

    EXPECT_FALSE(Log().empty());
    EXPECT_EQ(LinesThatShowIt(), std::vector<std::string>{});
}

} // namespace
