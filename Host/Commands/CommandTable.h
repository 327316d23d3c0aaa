// All subcommands, each in a file of its own.
#pragma once

#include "Host/CommandLine/Command.h"

#include <memory>
#include <vector>

namespace Zv::Host
{

[[nodiscard]] std::unique_ptr<Command> MakeGetCommand();
[[nodiscard]] std::unique_ptr<Command> MakeTextCommand();
[[nodiscard]] std::unique_ptr<Command> MakeFirmwareCommand();
[[nodiscard]] std::unique_ptr<Command> MakeSetCommand();
[[nodiscard]] std::unique_ptr<Command> MakeDefaultsCommand();
[[nodiscard]] std::unique_ptr<Command> MakeRunCommand();
[[nodiscard]] std::unique_ptr<Command> MakeEventsCommand();
[[nodiscard]] std::unique_ptr<Command> MakeSendCommand();
[[nodiscard]] std::unique_ptr<Command> MakeHotkeysCommand();
[[nodiscard]] std::unique_ptr<Command> MakePackageCommand();
[[nodiscard]] std::unique_ptr<Command> MakeLaunchCommand();
[[nodiscard]] std::unique_ptr<Command> MakeRecordCommand();
[[nodiscard]] std::unique_ptr<Command> MakeCheckCommand();
[[nodiscard]] std::unique_ptr<Command> MakeExplainCommand();
[[nodiscard]] std::unique_ptr<Command> MakeDoctorCommand();
[[nodiscard]] std::unique_ptr<Command> MakeTraceCommand();
[[nodiscard]] std::unique_ptr<Command> MakeShellCommand();
[[nodiscard]] std::unique_ptr<Command> MakeCompletionCommand();
[[nodiscard]] std::unique_ptr<Command> MakeCompleteCommand();

// In the order of --help.
[[nodiscard]] Commands MakeCommands();

} // namespace Zv::Host
