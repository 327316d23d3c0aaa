// What wmihost was told to do.
#pragma once

#include "Host/CommandLine/Command.h"
#include "Host/CommandLine/Environment.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zv::Host
{

struct Mistake;

// Global options, and one subcommand with its own.
class CommandLine
{
public:
    // The options hold where the arguments say nothing else.
    explicit CommandLine(std::function<Commands()> makeCommands, GlobalOptions options = {});
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine() = default;

    // Null where the text of Help() is asked for. Throws Failure(BadInput) that says what is wrong and what would be
    // right. Once only.
    [[nodiscard]] Command* Parse(const std::vector<std::string>& words);
    [[nodiscard]] const std::string& Help() const noexcept { return m_help; }

    // What the arguments may be.
    [[nodiscard]] const Arguments& Takes() const noexcept { return m_arguments; }
    [[nodiscard]] std::vector<std::string> CommandNames() const;
    [[nodiscard]] Command* FindCommand(const std::string& name) const noexcept; // null: there is none

    // From now on the option is a mistake: "--option: why".
    void Refuse(const std::string& option, const std::string& why) { m_arguments.Refuse(option, why); }

    [[nodiscard]] const GlobalOptions& Options() const noexcept { return m_options; }
    // Another one with the same subcommands.
    [[nodiscard]] std::unique_ptr<CommandLine> With(GlobalOptions options) const
    {
        return std::make_unique<CommandLine>(m_makeCommands, std::move(options));
    }

private:
    void DeclareFormats();
    void DeclareOptions();
    void TakeFormat();
    void CheckFormat(const std::string& program, const Command& command) const;
    [[nodiscard]] std::string UsageError(const std::string& program, const Command* command,
                                         const Mistake& mistake) const;

    const std::function<Commands()> m_makeCommands;
    const Commands m_commands;
    GlobalOptions m_options;
    bool m_json = false;
    bool m_jsonLines = false;
    bool m_csv = false;
    Arguments m_arguments; // fills what stands above
    std::string m_help;
};

} // namespace Zv::Host
