// Runs programs and keeps what they write.
#pragma once

#include "TemporaryFolder.h"

#include "Platform/Windows/Handle.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zv::Testing
{

struct Outcome
{
    int exitCode = -1;
    std::string output; // standard output, as bytes
    std::string error;  // standard error, as bytes

    [[nodiscard]] std::vector<std::string> OutputLines() const; // without blanks at their ends
};

// A program that runs while the test goes on; it is ended when the owner goes before that.
class StartedProgram
{
public:
    // Arguments are UTF-8 and reach the program as they are, whatever characters they hold. Without an input the
    // program waits for one in vain. The flags are those of CreateProcess. Throws std::runtime_error when it cannot be
    // started.
    StartedProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   std::optional<std::string_view> input = "", unsigned long flags = 0);
    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;
    ~StartedProgram();

    [[nodiscard]] unsigned long Id() const noexcept { return m_id; }

    // Waits until standard error has this text. Throws std::runtime_error when it has not after a minute.
    void WaitForError(std::string_view text) const;

    // Throws std::runtime_error when it has not ended after a minute.
    [[nodiscard]] Outcome WaitForEnd() const;

private:
    // Files rather than pipes: they take everything without anybody reading meanwhile.
    const TemporaryFolder m_folder;
    const std::string m_name;
    Tessel::Server::Shared::Handle m_silence; // the end of a pipe that nobody writes to
    Tessel::Server::Shared::Handle m_process;
    unsigned long m_id = 0;
};

// Runs it to its end; throws as the above.
[[nodiscard]] Outcome RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                                 std::string_view input = {});

// Presses Ctrl-C in the console of a program, which should have one of its own; whether that could be done.
[[nodiscard]] bool PressCtrlC(const StartedProgram& program);

// The wmihost.exe that was built with this test.
[[nodiscard]] Outcome RunHost(const std::vector<std::string>& arguments, std::string_view input = {});

// The same on a machine of Simulator/machines, such as "notebook".
[[nodiscard]] Outcome RunSimulated(const std::string& machine, std::vector<std::string> arguments,
                                   std::string_view input = {});

// The subcommands that "wmihost --help" names.
[[nodiscard]] std::vector<std::string> Subcommands();

// A description of a machine that has firmware events alone, with this schedule (the JSON of a list's items).
[[nodiscard]] std::string EventMachine(const std::string& schedule);

// A description of a machine whose queries never come back.
[[nodiscard]] std::string HangingMachine();

// A path with the backslashes of JSON.
[[nodiscard]] std::string JsonEscaped(const std::string& path);

// The folder of wmihost.exe and the module.
[[nodiscard]] std::filesystem::path HostFolder();

} // namespace Zv::Testing
