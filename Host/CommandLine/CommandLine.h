// What wmihost was told to do.
#pragma once

#include "Host/CommandLine/Command.h"
#include "Host/CommandLine/Environment.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Zv::Host
{

// Global options, and one subcommand with its own.
class CommandLine
{
public:
    // The options hold where the arguments say nothing else.
    explicit CommandLine(std::vector<std::unique_ptr<Command>> commands, GlobalOptions options = {});
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine() = default;

    // Throws CLI::Success where the text of Help() is asked for, Failure(BadInput) that says what is wrong and what
    // would be right.
    [[nodiscard]] Command& Parse(const std::vector<std::string>& arguments);

    // What the arguments may be.
    [[nodiscard]] const CLI::App& Parser() const noexcept { return m_app; }
    [[nodiscard]] std::vector<std::string> CommandNames() const;
    [[nodiscard]] const Command* FindCommand(const std::string& name) const noexcept; // null: there is none

    // From now on the option is a mistake: "--option: why".
    void Refuse(const std::string& option, const std::string& why);

    [[nodiscard]] std::string Help() const { return m_app.help(); }
    [[nodiscard]] const GlobalOptions& Options() const noexcept { return m_options; }

private:
    void DeclareFormats();
    void DeclareOptions();
    void CheckFormat() const;
    [[nodiscard]] std::string UsageError(const CLI::ParseError& error) const;
    [[nodiscard]] std::string Mistake(const CLI::ParseError& error) const;
    [[nodiscard]] std::string ProgramAndCommand() const;

    CLI::App m_app;
    GlobalOptions m_options;
    std::vector<std::unique_ptr<Command>> m_commands;
    Command* m_chosen = nullptr;
};

} // namespace Zv::Host
