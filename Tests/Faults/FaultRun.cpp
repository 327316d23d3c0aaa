#include "Tests/Faults/FaultRun.h"

#include "Logging/Logging.h"
#include "Platform/Windows/Handle.h"
#include "Tests/Faults/Campaign.h"
#include "Tests/Faults/Scenario.h"
#include "Tests/Support/Ledgers.h"
#include "Tests/Support/Text.h"

#include <windows.h>

#include <objbase.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace Zv::Testing
{

namespace
{

using Tessel::Server::Shared::Handle;

// How many complaints of one scenario are told, and how many processes are started before a run is given up.
constexpr std::size_t MostComplaints = 20;
constexpr int MostProcesses = 100;

// What the two processes share.
struct Progress
{
    std::atomic<LONG> scenario; // that is being tried, or is to be tried first
    std::atomic<LONG> fault;    // likewise
    std::atomic<LONG> beats;    // grows with each fault
    LONG done;                  // all was run
    LONG failed;                // it cannot go on
    LONG scenarios;
    LONG calls;
    LONG faults;
    LONG complaints;
    char description[512]; // of the fault
};

// The memory that both see, in either process.
class SharedProgress
{
public:
    explicit SharedProgress(HANDLE mapping)
        : m_mapping{mapping},
          m_view{static_cast<Progress*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Progress)))}
    {
        if (m_view == nullptr)
        {
            throw std::runtime_error{"no memory to share"};
        }
    }
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;
    ~SharedProgress() { UnmapViewOfFile(m_view); }

    [[nodiscard]] HANDLE Mapping() const noexcept { return m_mapping.Get(); }
    Progress* operator->() const noexcept { return m_view; }

private:
    const Handle m_mapping;
    Progress* const m_view;
};

HANDLE NewMapping()
{
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateFileMappingW(INVALID_HANDLE_VALUE, &inheritable, PAGE_READWRITE, 0, sizeof(Progress), nullptr);
}

Handle Start(const std::wstring& arguments)
{
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &created) == FALSE)
    {
        throw std::runtime_error{"cannot start this program again"};
    }
    CloseHandle(created.hThread);
    return Handle{created.hProcess};
}

// Waits for the end of the process; ends one that makes no progress. How it ended, empty when all was well.
std::string WaitForEnd(const Handle& process, const SharedProgress& progress, std::chrono::milliseconds limit)
{
    LONG beats = progress->beats;
    while (WaitForSingleObject(process.Get(), static_cast<DWORD>(limit.count())) == WAIT_TIMEOUT)
    {
        if (beats == progress->beats)
        {
            TerminateProcess(process.Get(), 1);
            WaitForSingleObject(process.Get(), INFINITE);
            return "hangs";
        }
        beats = progress->beats;
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(process.Get(), &exitCode);
    return progress->done != 0 && exitCode == 0
               ? std::string{}
               : "ends the process with exit code " + Narrow(Format(L"0x%x", exitCode));
}

// Ends the process with the exception's code: no debugger, no dialog.
LONG WINAPI EndAtOnce(EXCEPTION_POINTERS* exception)
{
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

void PrepareProcess()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(&EndAtOnce);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    ComMemory::Watch();
    Logging::LogManager::SetProvider(L"the host's");
}

void Tell(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

std::string NameOf(const std::string& scenario, std::size_t fault)
{
    return "\"" + scenario + "\" " + std::to_string(fault);
}

void RunScenario(const std::string& name, const SharedProgress& progress)
{
    const std::unique_ptr<Scenario> scenario = MakeScenario(name);
    Campaign campaign{*scenario};
    const std::vector<PlannedFault>& faults = campaign.Faults();
    std::size_t complaining = 0;
    for (auto index = static_cast<std::size_t>(progress->fault); index < faults.size(); ++index)
    {
        progress->fault = static_cast<LONG>(index);
        std::snprintf(progress->description, sizeof progress->description, "%s: %s", NameOf(name, index).c_str(),
                      faults[index].Describe().c_str());
        ++progress->beats;
        const std::string complaints = campaign.Try(index);
        if (complaints.empty())
        {
            continue;
        }
        ++progress->complaints;
        if (++complaining <= MostComplaints)
        {
            Tell(std::string{progress->description} + "\n  " + complaints + campaign.DescribeRun());
        }
    }
    progress->calls += static_cast<LONG>(campaign.Calls());
    progress->faults += static_cast<LONG>(faults.size());
    ++progress->scenarios;
    Tell(name + ": " + std::to_string(campaign.Calls()) + " calls, " + std::to_string(faults.size()) + " faults\n");
}

} // namespace

FaultRunResult RunFaults(const std::vector<std::string>& scenarios, std::chrono::milliseconds limit)
{
    const SharedProgress progress{NewMapping()};
    std::wstring arguments = L"--continue \"" + std::to_wstring(reinterpret_cast<std::uintptr_t>(progress.Mapping()));
    for (const std::string& name : scenarios)
    {
        arguments += L"|" + Widen(name);
    }
    arguments += L"\"";

    FaultRunResult result;
    for (int processes = 0; progress->done == 0; ++processes)
    {
        const Handle process = Start(arguments);
        const std::string end = WaitForEnd(process, progress, limit);
        if (end.empty())
        {
            break;
        }
        const bool began = progress->beats != 0;
        result.breakdowns.push_back(began ? std::string{progress->description} + ": " + end : end);
        if (!began || progress->failed != 0 || processes == MostProcesses)
        {
            break;
        }
        ++progress->fault; // the next process goes on behind it
    }
    result.scenarios = static_cast<std::size_t>(progress->scenarios);
    result.calls = static_cast<std::size_t>(progress->calls);
    result.faults = static_cast<std::size_t>(progress->faults);
    result.complaints = static_cast<std::size_t>(progress->complaints);
    return result;
}

int ContinueFaultRun(const std::string& arguments)
{
    PrepareProcess();
    std::istringstream parts{arguments};
    std::string part;
    std::getline(parts, part, '|');
    // NOLINTNEXTLINE(performance-no-int-to-ptr): handles are inherited by their numbers
    const SharedProgress progress{reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(std::stoull(part)))};
    try
    {
        for (LONG number = 0; std::getline(parts, part, '|'); ++number)
        {
            if (number < progress->scenario)
            {
                continue;
            }
            RunScenario(part, progress);
            ++progress->scenario;
            progress->fault = 0;
        }
    }
    catch (const std::exception& exception)
    {
        Tell(part + ": " + exception.what() + "\n");
        progress->failed = 1;
        return 2;
    }
    progress->done = 1;
    return 0;
}

void ListFaults(const std::string& name)
{
    PrepareProcess();
    const std::unique_ptr<Scenario> scenario = MakeScenario(name);
    const Campaign campaign{*scenario};
    for (std::size_t fault = 0; fault < campaign.Faults().size(); ++fault)
    {
        Tell(NameOf(name, fault) + ": " + campaign.Faults()[fault].Describe() + "\n");
    }
}

int ReplayFault(const std::string& name, std::size_t fault)
{
    PrepareProcess();
    const std::unique_ptr<Scenario> scenario = MakeScenario(name);
    Campaign campaign{*scenario};
    if (fault >= campaign.Faults().size())
    {
        Tell(name + " has " + std::to_string(campaign.Faults().size()) + " faults\n");
        return 2;
    }
    Tell(campaign.Faults()[fault].Describe() + "\n");
    const std::string complaints = campaign.Try(fault);
    Tell(campaign.DescribeRun() + (complaints.empty() ? "as expected\n" : complaints));
    return complaints.empty() ? 0 : 1;
}

} // namespace Zv::Testing
