#include "Program.h"

#include "Host/Client/Module.h"
#include "Platform/Windows/Handle.h"
#include "Platform/Windows/Utf8.h"

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

// The end that a program reads from; the other end stays with the caller.
Handle MakeSilentPipe(Handle& writer)
{
    HANDLE ends[2] = {};
    if (CreatePipe(&ends[0], &ends[1], nullptr, 0) == FALSE ||
        SetHandleInformation(ends[0], HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) == FALSE)
    {
        throw std::runtime_error{"cannot make a pipe"};
    }
    writer = Handle{ends[1]};
    return Handle{ends[0]};
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

StartedProgram::StartedProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                               std::optional<std::string_view> input, unsigned long flags)
    : m_name{program.string()}
{
    static_cast<void>(m_folder.Write("in", input.value_or("")));
    const Handle in = input ? OpenInheritable(m_folder / "in", GENERIC_READ, OPEN_EXISTING) : MakeSilentPipe(m_silence);
    const Handle out = OpenInheritable(m_folder / "out", GENERIC_WRITE, CREATE_ALWAYS);
    const Handle error = OpenInheritable(m_folder / "error", GENERIC_WRITE, CREATE_ALWAYS);

    std::wstring commandLine = Quoted(program.wstring());
    for (const std::string& argument : arguments)
    {
        commandLine += L' ' + Quoted(Zv::ToUtf16(argument));
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.Get();
    startup.hStdOutput = out.Get();
    startup.hStdError = error.Get();
    PROCESS_INFORMATION information{};
    const auto start = [&] {
        return CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &startup,
                              &information) != FALSE;
    };
    // A busy Wine now and then cannot make a process at the first attempt.
    if (!start() && (GetLastError() != ERROR_INTERNAL_ERROR || !start()))
    {
        throw std::runtime_error{"cannot start " + m_name + ": error " + std::to_string(GetLastError())};
    }
    m_process = Handle{information.hProcess};
    m_id = information.dwProcessId;
    const Handle thread{information.hThread};
}

StartedProgram::~StartedProgram()
{
    if (WaitForSingleObject(m_process.Get(), 0) != WAIT_OBJECT_0)
    {
        TerminateProcess(m_process.Get(), 1);
        WaitForSingleObject(m_process.Get(), Watchdog);
    }
}

void StartedProgram::WaitForError(std::string_view text) const
{
    const ULONGLONG end = GetTickCount64() + Watchdog;
    for (;;)
    {
        // Before the look: what it wrote last counts, too.
        const bool ended = WaitForSingleObject(m_process.Get(), 20) == WAIT_OBJECT_0 || GetTickCount64() > end;
        const std::string error = TemporaryFolder::Read(m_folder / "error");
        if (error.find(text) != std::string::npos)
        {
            return;
        }
        if (ended)
        {
            throw std::runtime_error{m_name + " does not say \"" + std::string{text} + "\" but \"" + error + '"'};
        }
    }
}

Outcome StartedProgram::WaitForEnd() const
{
    if (WaitForSingleObject(m_process.Get(), Watchdog) != WAIT_OBJECT_0)
    {
        throw std::runtime_error{m_name + " does not end; it wrote \"" + TemporaryFolder::Read(m_folder / "error") +
                                 '"'};
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(m_process.Get(), &exitCode);
    return {static_cast<int>(exitCode), TemporaryFolder::Read(m_folder / "out"),
            TemporaryFolder::Read(m_folder / "error")};
}

Outcome RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   std::string_view input)
{
    return StartedProgram{program, arguments, input}.WaitForEnd();
}

bool PressCtrlC(const StartedProgram& program)
{
    return RunProgram(HostFolder().parent_path() / "tests" / "host" / "ConsoleInterrupter.exe",
                      {std::to_string(program.Id())})
               .exitCode == 0;
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

std::vector<std::string> Subcommands()
{
    std::vector<std::string> names;
    bool isListed = false;
    for (const std::string& line : RunHost({"--help"}).OutputLines())
    {
        isListed = line == "Subcommands:" || (isListed && line.starts_with("  "));
        if (isListed && line.starts_with("  ") && line[2] != ' ') // more blanks: a description goes on
        {
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return names;
}

std::string EventMachine(const std::string& schedule)
{
    return R"({"version":1,"name":"m","namespaces":[{"path":"root\\wmi","classes":[{"name":"zvqBEvnt","event":true,)"
           R"("properties":{"EventID":"uint32","EventData":"uint32"}}]}],"events":{"namespace":"root\\wmi",)"
           R"("class":"zvqBEvnt","threads":1,"schedule":[)" +
           schedule + "]}}";
}

std::string HangingMachine()
{
    return R"({"version":1,"name":"m","namespaces":[{"path":"root\\CIMV2","classes":[]}],)"
           R"("faults":[{"at":"IWbemServices::ExecQuery","from":1,"hang":true}]})";
}

std::string JsonEscaped(const std::string& path)
{
    std::string escaped;
    for (const char c : path)
    {
        escaped += c == '\\' ? "\\\\" : std::string{c};
    }
    return escaped;
}

std::filesystem::path HostFolder()
{
    const std::filesystem::path ownFolder = Host::Module::DefaultPath().parent_path();
    return ownFolder.parent_path().parent_path() / "bin";
}

} // namespace Zv::Testing
