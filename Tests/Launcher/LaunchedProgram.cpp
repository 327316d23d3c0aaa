// Started in the place of a packaged app. Writes what it was started with to the file that ZV_REPORT names and sets the
// event that ZV_DONE names; with --set HANDLE it sets the event that it inherited.
#include "Tests/Support/Text.h"

#include <windows.h>

#include <shellapi.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace
{

using Zv::Testing::Narrow;

std::wstring Variable(const wchar_t* name)
{
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

void Report()
{
    std::wstring directory(32768, L'\0');
    directory.resize(GetCurrentDirectoryW(static_cast<DWORD>(directory.size()), directory.data()));
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);

    std::ofstream file{Variable(L"ZV_REPORT").c_str(), std::ios::binary};
    file << "command line: [" << Narrow(GetCommandLineW()) << "]\narguments:";
    for (int i = 0; i < count; ++i)
    {
        file << " [" << Narrow(arguments[i]) << "]";
    }
    file << "\ndirectory: [" << Narrow(directory) << "]\n";
    for (const wchar_t* name : {L"ZV_COLOUR", L"USERPROFILE", L"ZV_OF_THE_SERVICE"})
    {
        file << Narrow(name) << ": [" << Narrow(Variable(name)) << "]\n";
    }
    LocalFree(arguments);
}

} // namespace

int main()
{
    const std::wstring commandLine = GetCommandLineW();
    const std::wstring option = L"--set ";
    if (const std::size_t at = commandLine.find(option); at != std::wstring::npos)
    {
        const auto handle = static_cast<std::uintptr_t>(std::stoull(commandLine.substr(at + option.size())));
        return SetEvent(reinterpret_cast<HANDLE>(handle)) != FALSE ? 0 : 1;
    }
    Report();
    if (const HANDLE done = OpenEventW(EVENT_MODIFY_STATE, FALSE, Variable(L"ZV_DONE").c_str()); done != nullptr)
    {
        SetEvent(done);
        CloseHandle(done);
    }
    return 0;
}
