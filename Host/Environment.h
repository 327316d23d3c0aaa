// What a subcommand works with.
#pragma once

#include "Host/Console.h"
#include "Host/Interruption.h"
#include "Host/LogOutput.h"
#include "Host/Module.h"
#include "Host/OutputFormat.h"
#include "Host/Session.h"
#include "Host/Simulation.h"

#include "Logging/Sinks.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Zv::Host
{

// Options that go with every subcommand.
struct GlobalOptions
{
    OutputFormat format = OutputFormat::Text;
    ColorChoice color = ColorChoice::Auto;
    std::optional<Logging::Level> log;
    std::string modulePath;   // empty: beside the program
    std::string simulateFile; // description of a machine; empty: this machine
    std::optional<std::chrono::milliseconds> timeout;

    // Either of the formats, for subcommands to which they are the same.
    [[nodiscard]] bool PrintsJson() const noexcept
    {
        return format == OutputFormat::Json || format == OutputFormat::JsonLines;
    }
};

// The service is loaded and the session started when they are first asked for, so that subcommands that need none
// work without the module; they end in the opposite order.
class Environment
{
public:
    Environment(const GlobalOptions& options, Console& console, const Interruption& interruption);
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() = default;

    [[nodiscard]] const GlobalOptions& Options() const noexcept { return m_options; }
    [[nodiscard]] Console& Output() const noexcept { return m_console; }
    [[nodiscard]] const Interruption& GetInterruption() const noexcept { return m_interruption; }

    [[nodiscard]] Module& LoadedModule(); // throws Failure(ModuleMissing)
    [[nodiscard]] Session& OpenSession(); // likewise

    // How programs are started for the simulated user. To be set before the module is loaded.
    void SetUserOptions(Simulator::UserSessionOptions options) { m_userOptions = std::move(options); }
    // Null when the module works on this machine, or is not loaded yet.
    [[nodiscard]] Simulation* Simulated() noexcept { return m_simulated; }
    // To be called before the module starts threads of its own: they need the simulated machine until the process is
    // gone, which therefore has to end without a return from main.
    void KeepSimulation() noexcept { static_cast<void>(m_simulation.release()); }

private:
    const GlobalOptions& m_options;
    Console& m_console;
    const Interruption& m_interruption;
    Simulator::UserSessionOptions m_userOptions;
    std::optional<LogOutput> m_log;
    std::optional<Module> m_module;
    std::unique_ptr<Simulation> m_simulation; // null once it is kept
    Simulation* m_simulated = nullptr;
    std::optional<Session> m_session;
};

} // namespace Zv::Host
