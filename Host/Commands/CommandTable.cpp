#include "Host/Commands/CommandTable.h"

namespace Zv::Host
{

std::vector<std::unique_ptr<Command>> MakeCommands()
{
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(MakeGetCommand());
    commands.push_back(MakeTextCommand());
    commands.push_back(MakeFirmwareCommand());
    commands.push_back(MakeSetCommand());
    commands.push_back(MakeDefaultsCommand());
    commands.push_back(MakeRunCommand());
    commands.push_back(MakeEventsCommand());
    commands.push_back(MakeSendCommand());
    commands.push_back(MakeHotkeysCommand());
    commands.push_back(MakePackageCommand());
    commands.push_back(MakeLaunchCommand());
    commands.push_back(MakeRecordCommand());
    commands.push_back(MakeCheckCommand());
    commands.push_back(MakeExplainCommand());
    commands.push_back(MakeDoctorCommand());
    commands.push_back(MakeTraceCommand());
    commands.push_back(MakeShellCommand());
    commands.push_back(MakeCompletionCommand());
    commands.push_back(MakeCompleteCommand());
    return commands;
}

} // namespace Zv::Host
