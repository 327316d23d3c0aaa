// Command lines one after the other, with one session of the module.
#pragma once

#include "Host/CommandLine/CommandLine.h"
#include "Host/CommandLine/Environment.h"
#include "Host/Completion/MachineNames.h"
#include "Host/Shell/BackgroundEvents.h"
#include "Host/Shell/Notices.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zv::Host
{

// The options of the environment hold for each line that does not give its own. The session ends with the environment.
class Shell
{
public:
    // Those that a line may begin with.
    using MakeCommands = Commands(Shell& shell);

    Shell(Environment& environment, MakeCommands& makeCommands);
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;
    ~Shell() = default;

    // Lines from a console, until they end.
    [[nodiscard]] ExitCode Talk();
    // Lines from a pipe or file, until they end or one fails. Returns the first failure.
    [[nodiscard]] ExitCode RunScript(bool keepGoing);

    // What the shell's own subcommands do.
    void Leave() noexcept { m_leaves = true; }
    [[nodiscard]] std::unique_ptr<CommandLine> MakeLine();
    [[nodiscard]] bool ShowsEvents();
    void ShowEvents(Environment& environment, const std::vector<int>& ids, const std::string& channel);
    void ShowNoEvents() noexcept { m_events.reset(); }

private:
    [[nodiscard]] static std::optional<std::string> NextScriptLine();
    [[nodiscard]] ExitCode RunLine(const std::string& line, const std::string& place);
    [[nodiscard]] Completion CompleteLine(const std::vector<std::string>& words, const std::string& begin);
    [[nodiscard]] bool HasToLeave() const;
    void ReportEndOfEvents();

    Environment& m_environment;
    MakeCommands& m_makeCommands;
    Console& m_console;
    const GlobalOptions m_defaults;
    Notices m_notices;
    std::unique_ptr<BackgroundEvents> m_events; // null: none are shown
    std::optional<MachineNames> m_names;        // once one is asked for
    bool m_leaves = false;
};

} // namespace Zv::Host
