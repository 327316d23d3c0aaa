// Runs a program whose standard input is the console of this process; ConsoleTypist types there, by this process's id.
// Its other streams are those of this process, so that a test can read them.
//   usage: ConsoleRunner PROGRAM ARGUMENT...
#include <windows.h>

#include <string>

namespace
{

BOOL WINAPI IgnoreCtrlC(DWORD) noexcept
{
    return TRUE; // it is meant for the program
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    &inherit, OPEN_EXISTING, 0, nullptr);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    SetConsoleCtrlHandler(&IgnoreCtrlC, TRUE);

    std::wstring commandLine; // none of the arguments has a quote in it, or ends in a backslash
    for (int i = 1; i < count; ++i)
    {
        commandLine += (i == 1 ? L"\"" : L" \"") + std::wstring{arguments[i]} + L'"';
    }
    PROCESS_INFORMATION started{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started) ==
        FALSE)
    {
        return 255;
    }
    DWORD exitCode = 255;
    WaitForSingleObject(started.hProcess, INFINITE);
    GetExitCodeProcess(started.hProcess, &exitCode);
    return static_cast<int>(exitCode);
}
