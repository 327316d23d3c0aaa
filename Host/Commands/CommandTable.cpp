#include "Host/Commands/CommandTable.h"

namespace Zv::Host
{

Commands MakeCommands()
{
    Commands commands;
    for (const auto make :
         {MakeGetCommand, MakeTextCommand, MakeFirmwareCommand, MakeSetCommand, MakeDefaultsCommand, MakeRunCommand,
          MakeEventsCommand, MakeSendCommand, MakeHotkeysCommand, MakePackageCommand, MakeLaunchCommand,
          MakeRecordCommand, MakeCheckCommand, MakeExplainCommand, MakeDoctorCommand, MakeTraceCommand,
          MakeShellCommand, MakeCompletionCommand, MakeCompleteCommand})
    {
        commands.push_back(make());
    }
    return commands;
}

} // namespace Zv::Host
