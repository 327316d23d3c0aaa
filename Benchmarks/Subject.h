// The module as a host uses it, on a simulated machine.
#pragma once

#include "Interception/ImportTable.h"
#include "Services/ZVService.h"
#include "Simulator/Machine.h"

#include <windows.h>

#include <memory>
#include <string>

namespace Zv::Benchmarks
{

using Tessel::Server::Services::FunctionNumber;
using Tessel::Server::Services::ProgressCallback;
using Tessel::Server::Services::ZVService;

// A machine for benchmarks: firmware methods that answer with what they were given, a settings class, and a class
// Bench_Item of so many instances with a number, a text of at least so many characters and a flag.
[[nodiscard]] Simulator::Machine MakeMachine(std::size_t items, std::size_t textLength = 0);

// WMIService.dll beside the program, with a service, a session and a log that nobody reads. One at a time: the import
// of CoCreateInstance is redirected to its machine, and the one that asks for the remote caller answers that there is
// none.
class Subject
{
public:
    explicit Subject(Simulator::Machine& machine);
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;
    ~Subject();

    // From here on, commands find this machine.
    void Use(Simulator::Machine& machine) noexcept;

    // Runs a command, which must return 0, and gives its response back.
    void Run(FunctionNumber function, const std::wstring& request, const ProgressCallback& callback = {});
    // The same whatever the command returns.
    int RunAny(unsigned int function, const std::wstring& request, const ProgressCallback& callback = {});

    [[nodiscard]] ZVService& Service() noexcept { return *m_service; }
    [[nodiscard]] HMODULE Module() const noexcept { return m_module; }
    [[nodiscard]] void* Session() const noexcept { return m_session; }

private:
    HMODULE m_module;
    Interception::Redirection m_creation;
    Interception::Redirection m_callAttributes;
    std::unique_ptr<ZVService> m_service;
    void* m_session = nullptr;
};

} // namespace Zv::Benchmarks
