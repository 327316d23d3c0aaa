#include "Host/CommandParts/StartedProcessText.h"

#include "Host/Text/Json.h"
#include "Platform/Windows/Utf8.h"

namespace Zv::Host
{

std::string JsonOf(const Simulator::StartedProcess& started)
{
    return JsonObject{}
        .Add("application", ToUtf8(started.application))
        .Add("commandLine", ToUtf8(started.commandLine))
        .Add("folder", ToUtf8(started.directory))
        .Add("program", ToUtf8(started.program))
        .Add("processId", static_cast<int>(started.processId))
        .Text();
}

std::string TextOf(const Simulator::StartedProcess& started)
{
    return "application   " + ToUtf8(started.application) + "\ncommand line  [" + ToUtf8(started.commandLine) +
           "]\nfolder        " + ToUtf8(started.directory) + '\n' +
           (started.program.empty()
                ? "simulated"
                : "running       " + ToUtf8(started.program) + ", process " + std::to_string(started.processId)) +
           '\n';
}

} // namespace Zv::Host
