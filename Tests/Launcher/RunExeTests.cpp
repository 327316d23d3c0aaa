// RunExeAsUser: the process is created with the user's token, environment and the handles listed.
#include "Tests/Launcher/LauncherTest.h"

#include "Tests/Support/Text.h"

namespace Zv::Testing
{

namespace
{

constexpr wchar_t Attempting[] = L"Info Attempting to impersonate logged in user.";

// A process call as the story shows it; the parts that differ between the tests.
std::wstring Created(const wchar_t* application, const wchar_t* commandLine, const wchar_t* directory)
{
    return L"CreateProcessAsUserW(token, " + std::wstring{application} + L", " + commandLine +
           L", null, null, 0, 0x80430, environment, " + directory + L", {112, zeros, null})";
}

class RunExeTests : public LauncherTest
{
protected:
    std::shared_ptr<void> token = session->Token(L"token");
    DWORD processId = 77;
    const std::vector<void*> twoHandles{reinterpret_cast<void*>(0x1234), reinterpret_cast<void*>(0x5678)};
};

} // namespace

TEST_F(RunExeTests, AProcessIsCreatedWithTheUsersEnvironment)
{
    EXPECT_TRUE(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", token, L"a -x", processId, {}));
    EXPECT_EQ(processId, 4242U);
    EXPECT_EQ(Story(), Lines({Attempting, L"CreateEnvironmentBlock(token, 0)",
                              Created(L"\"C:\\a.exe\"", L"\"a -x\"", L"\"C:\\dir\""), L"CloseHandle(thread)",
                              L"CloseHandle(process)", L"DestroyEnvironmentBlock(environment)"}));
}

TEST_F(RunExeTests, WithoutATokenNothingIsStarted)
{
    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", nullptr, L"a -x", processId, {}));
    EXPECT_EQ(processId, 77U);
    EXPECT_EQ(Story(), Lines({Attempting}));
}

TEST_F(RunExeTests, TheShortFormInheritsNothing)
{
    EXPECT_TRUE(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", token, L"a -x"));
    EXPECT_EQ(Story(), Lines({Attempting, L"CreateEnvironmentBlock(token, 0)",
                              Created(L"\"C:\\a.exe\"", L"\"a -x\"", L"\"C:\\dir\""), L"CloseHandle(thread)",
                              L"CloseHandle(process)", L"DestroyEnvironmentBlock(environment)"}));
}

TEST_F(RunExeTests, WithoutACommandLineTheApplicationPathServesUnquoted)
{
    EXPECT_TRUE(launcher->RunExeAsUser(L"C:\\a b.exe", L"C:\\dir", token, L""));
    EXPECT_EQ(Narrow(transcript.Of({L"CreateProcess"}).at(0)),
              Narrow(Created(L"\"C:\\a b.exe\"", L"\"C:\\a b.exe\"", L"\"C:\\dir\"")));
}

TEST_F(RunExeTests, WithoutApplicationAndDirectoryNoneIsNamed)
{
    EXPECT_TRUE(launcher->RunExeAsUser(L"", L"", token, L"a -x"));
    EXPECT_EQ(Narrow(transcript.Of({L"CreateProcess"}).at(0)), Narrow(Created(L"null", L"\"a -x\"", L"null")));
}

TEST_F(RunExeTests, ACommandLineOf32766CharactersIsAccepted)
{
    const std::wstring longest(32766, L'c');
    EXPECT_TRUE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, longest));
    EXPECT_NE(transcript.Of({L"CreateProcess"}).at(0).find(longest), std::wstring::npos);
}

TEST_F(RunExeTests, ACommandLineOf32767CharactersIsRefusedWithoutAMessage)
{
    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, std::wstring(32767, L'c'), processId, twoHandles));
    EXPECT_FALSE(launcher->RunExeAsUser(std::wstring(32767, L'c'), L"", token, L""));
    EXPECT_EQ(Story(), Lines({Attempting, Attempting}));
    EXPECT_EQ(processId, 77U);
}

TEST_F(RunExeTests, HandlesAreInheritedThroughAList)
{
    EXPECT_TRUE(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", token, L"a", processId, twoHandles));
    EXPECT_EQ(Story(), Lines({Attempting, L"InitializeProcThreadAttributeList(null, 1, 0, 0)",
                              L"HeapAlloc(process heap, 0, 48)", L"InitializeProcThreadAttributeList(block, 1, 0, 48)",
                              L"UpdateProcThreadAttribute(list, 0, 0x20002, [0x1234 0x5678], 16, null, null)",
                              L"CreateEnvironmentBlock(token, 0)",
                              L"CreateProcessAsUserW(token, \"C:\\a.exe\", \"a\", null, null, 1, 0x80430, environment, "
                              L"\"C:\\dir\", {112, zeros, list})",
                              L"CloseHandle(thread)", L"CloseHandle(process)", L"DestroyEnvironmentBlock(environment)",
                              L"DeleteProcThreadAttributeList(list)", L"HeapFree(process heap, 0, list)"}));
}

TEST_F(RunExeTests, AListWithoutSizeEndsTheLaunchWithoutAMessage)
{
    session->attributeListSize = 0;

    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, L"a", processId, twoHandles));
    EXPECT_EQ(Story(), Lines({Attempting, L"InitializeProcThreadAttributeList(null, 1, 0, 0)"}));
}

TEST_F(RunExeTests, AListWithoutMemoryEndsTheLaunchWithoutAMessage)
{
    session->Fail("HeapAlloc");

    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, L"a", processId, twoHandles));
    EXPECT_EQ(Story(), Lines({Attempting, L"InitializeProcThreadAttributeList(null, 1, 0, 0)",
                              L"HeapAlloc(process heap, 0, 48)"}));
}

TEST_F(RunExeTests, AListThatIsNotInitializedIsFreedButNotDeleted)
{
    session->Fail("InitializeProcThreadAttributeList", 2);

    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, L"a", processId, twoHandles));
    EXPECT_EQ(Story(),
              Lines({Attempting, L"InitializeProcThreadAttributeList(null, 1, 0, 0)", L"HeapAlloc(process heap, 0, 48)",
                     L"InitializeProcThreadAttributeList(block, 1, 0, 48)", L"HeapFree(process heap, 0, block)"}));
}

TEST_F(RunExeTests, AListThatTakesNoHandlesIsDeletedAndFreed)
{
    session->Fail("UpdateProcThreadAttribute");

    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, L"a", processId, twoHandles));
    EXPECT_EQ(Story(), Lines({Attempting, L"InitializeProcThreadAttributeList(null, 1, 0, 0)",
                              L"HeapAlloc(process heap, 0, 48)", L"InitializeProcThreadAttributeList(block, 1, 0, 48)",
                              L"UpdateProcThreadAttribute(list, 0, 0x20002, [0x1234 0x5678], 16, null, null)",
                              L"DeleteProcThreadAttributeList(list)", L"HeapFree(process heap, 0, list)"}));
}

TEST_F(RunExeTests, WithoutAnEnvironmentNoProcessIsCreated)
{
    session->Fail("CreateEnvironmentBlock");

    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"", token, L"a", processId, {}));
    EXPECT_EQ(Story(), Lines({Attempting, L"CreateEnvironmentBlock(token, 0)"}));
    EXPECT_EQ(processId, 77U);
}

TEST_F(RunExeTests, AProcessThatIsNotCreatedIsLoggedWithItsError)
{
    session->Fail("CreateProcessAsUserW");
    session->lastError = ERROR_FILE_NOT_FOUND;

    EXPECT_FALSE(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", token, L"a", processId, twoHandles));
    EXPECT_EQ(Log(), Lines({Attempting, L"Warning Problem while creating process as user 2."}));
    EXPECT_EQ(Narrow(transcript.Log().back().format), "Problem while creating process as user %d.");
    EXPECT_EQ(processId, 77U);
}

TEST_F(RunExeTests, NothingIsHeldWhicheverPlatformCallFails)
{
    RunWithEachPlatformCallFailing([this] {
        static_cast<void>(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", token, L"a", processId, twoHandles));
        static_cast<void>(launcher->RunExeAsUser(L"C:\\a.exe", L"C:\\dir", token, L"a"));
    });
}

TEST_F(RunExeTests, NothingIsHeldWhicheverAllocationFails)
{
    const std::wstring application = L"C:\\Program Files\\a.exe";
    RunWithEachAllocationFailing([&] {
        static_cast<void>(launcher->RunExeAsUser(application, application, token, L"", processId, twoHandles));
    });
}

} // namespace Zv::Testing
