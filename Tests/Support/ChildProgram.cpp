#include "Tests/Support/ChildProgram.h"

#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

namespace Zv::Testing
{

using Tessel::Server::Shared::Handle;

std::string RunToEnd(const std::filesystem::path& program, const std::wstring& arguments)
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (CreatePipe(&readEnd, &writeEnd, &inheritable, 1 << 16) == FALSE)
    {
        throw std::runtime_error{"no pipe"};
    }
    const Handle output{readEnd};
    Handle childEnd{writeEnd};
    SetHandleInformation(output.Get(), HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = childEnd.Get();
    startup.hStdError = childEnd.Get();
    PROCESS_INFORMATION created{};
    std::wstring commandLine = L"\"" + program.wstring() + L"\" " + arguments;
    if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &created) == FALSE)
    {
        throw std::runtime_error{"cannot start " + program.string()};
    }
    const Handle process{created.hProcess};
    const Handle thread{created.hThread};
    childEnd.Reset();

    // The pipe has room for all that such a program writes, so it ends without a reader.
    DWORD exitCode = 1;
    if (WaitForSingleObject(process.Get(), 30'000) != WAIT_OBJECT_0)
    {
        TerminateProcess(process.Get(), 1);
        throw std::runtime_error{program.string() + " does not end"};
    }
    GetExitCodeProcess(process.Get(), &exitCode);
    std::string text(1 << 16, '\0');
    DWORD length = 0;
    if (ReadFile(output.Get(), text.data(), static_cast<DWORD>(text.size()), &length, nullptr) == FALSE)
    {
        length = 0;
    }
    text.resize(length);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    if (exitCode != 0)
    {
        throw std::runtime_error{program.string() + " ended with " + std::to_string(exitCode) + ": " + text};
    }
    return text;
}

} // namespace Zv::Testing
