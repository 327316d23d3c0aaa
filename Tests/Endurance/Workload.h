// A host that never stops: mixed commands on several threads, and events relayed through registrations.
#pragma once

#include "Interception/ImportTable.h"
#include "Simulator/Machine.h"
#include "Tests/Support/Counter.h"
#include "Tests/Support/Module.h"

#include <cstddef>
#include <vector>

namespace Zv::Testing
{

// One at a time per process: the module's imports lead to its machine.
class Workload
{
public:
    Workload();
    Workload(const Workload&) = delete;
    Workload& operator=(const Workload&) = delete;
    ~Workload();

    // Runs so many commands of all kinds, in sessions that come and go. Returns how many gave another result code than
    // they should.
    [[nodiscard]] std::size_t RunCommands(std::size_t commands, std::size_t threads);

    // Registers on a session of its own, fires so many events and ends the registration. Returns how many events did
    // not come through.
    [[nodiscard]] std::size_t RelayEvents(std::size_t events);

    // Blocks that the module holds.
    [[nodiscard]] static long Blocks();

private:
    [[nodiscard]] std::size_t RunOnThread(std::size_t commands) const;

    Module m_module;
    Simulator::Machine m_machine;
    std::vector<Interception::Redirection> m_redirections;
    Service m_service;
};

} // namespace Zv::Testing
