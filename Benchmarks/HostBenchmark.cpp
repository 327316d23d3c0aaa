// wmihost get against the system's own wmic: whole processes, the same question.

#include "Benchmarks/Measure.h"
#include "Benchmarks/Paths.h"
#include "Benchmarks/Report.h"
#include "Platform/Windows/Handle.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace
{

using namespace Zv::Benchmarks;
using Zv::Tessel::Server::Shared::Handle;

constexpr std::size_t Rounds = 15;

// Where what the programs print goes.
Handle OpenNull()
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    Handle null{CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                            OPEN_EXISTING, 0, nullptr)};
    if (!null)
    {
        throw std::runtime_error{"NUL cannot be opened"};
    }
    return null;
}

// Runs a program to its end, which must be success; microseconds.
double Run(const std::filesystem::path& program, const std::wstring& arguments)
{
    static const Handle null = OpenNull();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = null.Get();
    std::wstring commandLine = L"\"" + program.wstring() + L"\" " + arguments;
    DWORD exitCode = 1;
    const double time = Time([&] {
        PROCESS_INFORMATION process{};
        if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                           &process) == FALSE)
        {
            throw std::runtime_error{program.string() + " cannot be started"};
        }
        const Handle thread{process.hThread};
        const Handle running{process.hProcess};
        WaitForSingleObject(running.Get(), INFINITE);
        GetExitCodeProcess(running.Get(), &exitCode);
    });
    if (exitCode != 0)
    {
        throw std::runtime_error{program.string() + " failed"};
    }
    return time;
}

std::filesystem::path WmicProgram()
{
    std::array<wchar_t, MAX_PATH> path{};
    GetSystemDirectoryW(path.data(), static_cast<UINT>(path.size()));
    return std::filesystem::path{path.data()} / L"wbem" / L"wmic.exe";
}

// A program and its arguments.
struct Call
{
    std::filesystem::path program;
    std::wstring arguments;
};

void OverWmic(Report& report, const std::string& name, const std::wstring& wmiClass, const std::wstring& property,
              const Call& call, const Aim& aim)
{
    report.Add(CompareSamples(
                   name, [&] { return Run(call.program, call.arguments); },
                   [&] { return Run(WmicProgram(), L"path " + wmiClass + L" get " + property); }, Rounds),
               aim);
}

struct Question
{
    std::string wmiClass;
    std::string property;
    bool json = false;
};

void Ask(Report& report, const Question& question)
{
    const std::wstring wmiClass{question.wmiClass.begin(), question.wmiClass.end()};
    const std::wstring property{question.property.begin(), question.property.end()};
    OverWmic(report, question.wmiClass + " " + question.property + (question.json ? ", as JSON" : ""), wmiClass,
             property,
             {BesideProgram(L"wmihost.exe"),
              (question.json ? L"--json get " : L"get ") + wmiClass + L" " + property + L" --all"},
             {1, {}});
}

// What bounds wmihost: the least program that asks the same, by itself and with the DLLs that the module needs.
void AskPlainly(Report& report)
{
    const std::wstring wmiClass = L"Win32_BaseBoard";
    const std::wstring property = L"Product";
    const std::filesystem::path client = BesideProgram(L"PlainClient.exe");
    const std::wstring question = wmiClass + L" " + property;
    OverWmic(report, "plain client, Win32_BaseBoard Product", wmiClass, property, {client, question}, {});
    OverWmic(report, "plain client with the DLLs that the module needs", wmiClass, property,
             {client, question + L" EmptyModuleSameDlls.dll"}, {});
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return Main("Program: wmihost get over wmic, whole processes", argumentCount, arguments, [&](Report& report) {
        const Question questions[] = {
            {"Win32_BaseBoard", "Product"},
            {"Win32_OperatingSystem", "Caption"},
            {"Win32_BIOS", "SMBIOSMajorVersion"},
            {"Win32_Processor", "NumberOfLogicalProcessors"},
            {"Win32_ComputerSystem", "TotalPhysicalMemory"},
            {"Win32_Service", "Name"},
            {"Win32_Service", "Name", true},
        };
        for (const Question& question : questions)
        {
            Ask(report, question);
        }
        AskPlainly(report);
    });
}
