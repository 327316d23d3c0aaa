// What a subcommand works with.
#pragma once

#include "Host/CommandLine/Connection.h"
#include "Host/Terminal/Console.h"
#include "Host/Terminal/Interruption.h"
#include "Host/Terminal/LogOutput.h"
#include "Host/Text/OutputFormat.h"
#include "Host/Trace/TraceOptions.h"

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
    bool time = false;                          // shows what each leg took
    std::optional<Tracing::TraceOptions> trace; // nothing: no trace is written

    // Either of the formats, for subcommands to which they are the same.
    [[nodiscard]] bool PrintsJson() const noexcept
    {
        return format == OutputFormat::Json || format == OutputFormat::JsonLines;
    }
};

class Environment
{
public:
    Environment(const GlobalOptions& options, Console& console, const Interruption& interruption,
                std::shared_ptr<Connection> connection, bool isInShell);
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() = default;

    [[nodiscard]] const GlobalOptions& Options() const noexcept { return m_options; }
    [[nodiscard]] Console& Output() const noexcept { return m_console; }
    [[nodiscard]] const Interruption& GetInterruption() const noexcept { return m_interruption; }
    [[nodiscard]] const std::shared_ptr<Connection>& GetConnection() const noexcept { return m_connection; }

    // Throws Failure(BadInput) when "-" means the standard input that a shell reads its lines from.
    void CheckInput(const std::string& file) const;

    // Those of the connection.
    [[nodiscard]] Module& LoadedModule() { return m_connection->LoadedModule(); }
    [[nodiscard]] Zv::Tessel::Server::Services::ZVService& Service() { return m_connection->Service(); }
    [[nodiscard]] Session& OpenSession() { return m_connection->OpenSession(); }
    void SetUserOptions(Simulator::UserSessionOptions options) { m_connection->SetUserOptions(std::move(options)); }
    [[nodiscard]] Simulation* Simulated() noexcept { return m_connection->Simulated(); }
    void KeepSimulation() noexcept { m_connection->KeepSimulation(); }
    [[nodiscard]] LegTimes& Times() const noexcept { return *m_connection->Times(); }

private:
    const GlobalOptions& m_options;
    Console& m_console;
    const Interruption& m_interruption;
    const bool m_isInShell;
    std::optional<LogOutput> m_log; // before the connection, whose end it shows
    std::shared_ptr<Connection> m_connection;
};

} // namespace Zv::Host
