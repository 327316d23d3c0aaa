// The way from a subcommand to the machine.
#pragma once

#include "Host/Client/LegTimes.h"
#include "Host/Client/Module.h"
#include "Host/Client/Session.h"
#include "Host/CommandLine/Simulation.h"
#include "Host/Trace/TraceOptions.h"
#include "Host/Trace/TracedService.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Zv::Host
{

// The service is loaded and the session started when they are first asked for, so that subcommands that need none
// work without the module; they end in the opposite order.
class Connection
{
public:
    // An empty path: beside the program. An empty file: this machine. The times get what its legs took, its end among
    // them. Without trace options the module's calls are not traced.
    Connection(std::string modulePath, std::string simulateFile,
               std::shared_ptr<LegTimes> times = std::make_shared<LegTimes>(),
               std::optional<Tracing::TraceOptions> trace = {})
        : m_modulePath{std::move(modulePath)},
          m_simulateFile{std::move(simulateFile)},
          m_times{std::move(times)},
          m_trace{std::move(trace)}
    {
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    [[nodiscard]] Module& LoadedModule(); // throws Failure(ModuleMissing)
    // Its service, with the host's calls in the trace where one is written; throws likewise.
    [[nodiscard]] Zv::Tessel::Server::Services::ZVService& Service();
    [[nodiscard]] Session& OpenSession(); // likewise

    // How programs are started for the simulated user. To be set before the module is loaded.
    void SetUserOptions(Simulator::UserSessionOptions options) { m_userOptions = std::move(options); }
    // Null when the module works on this machine, or is not loaded yet.
    [[nodiscard]] Simulation* Simulated() noexcept { return m_simulated; }
    // To be called before the module starts threads of its own: they need the simulated machine until the process is
    // gone, which therefore has to end without a return from main.
    void KeepSimulation() noexcept { static_cast<void>(m_simulation.release()); }

    [[nodiscard]] const std::shared_ptr<LegTimes>& Times() const noexcept { return m_times; }

private:
    void Redirect(HMODULE module); // its imports, when it is about to be initialised

    const std::string m_modulePath;
    const std::string m_simulateFile;
    const std::shared_ptr<LegTimes> m_times;
    const std::optional<Tracing::TraceOptions> m_trace;
    std::optional<LegTimes::Leg> m_ending; // before what ends after it began
    Simulator::UserSessionOptions m_userOptions;
    std::optional<Module> m_module;
    std::optional<Tracing::TracedService> m_tracedService;
    std::unique_ptr<Simulation> m_simulation; // null once it is kept
    Simulation* m_simulated = nullptr;
    std::optional<Session> m_session;
};

} // namespace Zv::Host
