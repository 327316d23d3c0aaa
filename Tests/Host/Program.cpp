#include "Program.h"

#include "TemporaryFolder.h"

#include "Host/Module.h"
#include "Host/Utf.h"
#include "Shared/Handle.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::Handle;

constexpr DWORD Watchdog = 60000;

// As CommandLineToArgvW takes them apart: backslashes count only before a quote.
std::wstring Quoted(const std::wstring& argument)
{
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument)
    {
        if (c == L'\\')
        {
            ++backslashes;
            continue;
        }
        quoted.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
        backslashes = 0;
        quoted += c;
    }
    quoted.append(2 * backslashes, L'\\');
    return quoted + L'"';
}

Handle OpenInheritable(const std::filesystem::path& path, DWORD access, DWORD disposition)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    Handle file{CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, disposition,
                            FILE_ATTRIBUTE_NORMAL, nullptr)};
    if (!file)
    {
        throw std::runtime_error{"cannot open " + path.string()};
    }
    return file;
}

} // namespace

std::vector<std::string> Outcome::OutputLines() const
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < output.size())
    {
        const std::size_t end = std::min(output.find('\n', begin), output.size());
        std::string line = output.substr(begin, end - begin);
        line.erase(line.find_last_not_of(" \r") + 1);
        lines.push_back(line);
        begin = end + 1;
    }
    return lines;
}

Outcome RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   std::string_view input)
{
    // Files rather than pipes: they take everything without anybody reading meanwhile.
    const TemporaryFolder folder;
    static_cast<void>(folder.Write("in", input));
    const Handle in = OpenInheritable(folder / "in", GENERIC_READ, OPEN_EXISTING);
    const Handle out = OpenInheritable(folder / "out", GENERIC_WRITE, CREATE_ALWAYS);
    const Handle error = OpenInheritable(folder / "error", GENERIC_WRITE, CREATE_ALWAYS);

    std::wstring commandLine = Quoted(program.wstring());
    for (const std::string& argument : arguments)
    {
        commandLine += L' ' + Quoted(Host::ToUtf16(argument));
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.Get();
    startup.hStdOutput = out.Get();
    startup.hStdError = error.Get();
    PROCESS_INFORMATION information{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &information) == FALSE)
    {
        throw std::runtime_error{"cannot start " + program.string() + ": error " + std::to_string(GetLastError())};
    }
    const Handle process{information.hProcess};
    const Handle thread{information.hThread};
    if (WaitForSingleObject(process.Get(), Watchdog) != WAIT_OBJECT_0)
    {
        TerminateProcess(process.Get(), 1);
        throw std::runtime_error{program.string() + " does not end"};
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(process.Get(), &exitCode);
    return {static_cast<int>(exitCode), TemporaryFolder::Read(folder / "out"), TemporaryFolder::Read(folder / "error")};
}

Outcome RunHost(const std::vector<std::string>& arguments, std::string_view input)
{
    return RunProgram(HostFolder() / "wmihost.exe", arguments, input);
}

Outcome RunSimulated(const std::string& machine, std::vector<std::string> arguments, std::string_view input)
{
    arguments.insert(arguments.end(), {"--simulate", ZV_MACHINES "/" + machine + ".json"});
    return RunHost(arguments, input);
}

std::filesystem::path HostFolder()
{
    const std::filesystem::path ownFolder = Host::Module::DefaultPath().parent_path();
    return ownFolder.parent_path().parent_path() / "bin";
}

} // namespace Zv::Testing
