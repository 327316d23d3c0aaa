#include "Host/CommandParts/FirmwareReply.h"
#include "Host/CommandParts/PasswordOption.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Json.h"

namespace Zv::Host
{

namespace
{

class SetCommand : public Command
{
public:
    SetCommand()
        : Command{
              {.name = "set",
               .summary = "Change a firmware setting",
               .details = R"(Prints that the firmware did it, or with --json its answer, {"result":N}: 0 when it did.
Another number is a refusal, such as for a wrong password, and ends in exit code 7.

Other users of this machine can see a password that stands on the command line.)",
               .examples = R"(wmihost set "Fast Boot" Disable
wmihost set "Wake On LAN" Disabled --password -)",
               .takesSecrets = true}}
    {
        m_arguments.Positional("NAME", m_name, "Setting, such as \"Fast Boot\"").Required();
        m_arguments.Positional("VALUE", m_value, "Its new value, such as Disable").Required();
        m_password.Declare(m_arguments);
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        JsonObject request;
        request.Add("name", m_name).Add("value", m_value);
        m_password.AddTo(request, environment);
        // The value stays unsaid: it is a password where the setting is one.
        return ChangeFirmware(environment, Zv::Tessel::Server::Services::FunctionNumber::SetBiosSetting, request,
                              {.subject = m_name, .done = m_name + " is set"});
    }

private:
    std::string m_name;
    std::string m_value;
    PasswordOption m_password;
};

} // namespace

std::unique_ptr<Command> MakeSetCommand()
{
    return std::make_unique<SetCommand>();
}

} // namespace Zv::Host
