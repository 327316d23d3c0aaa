#include "Host/CommandParts/FirmwareReply.h"
#include "Host/CommandParts/PasswordOption.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Terminal/ConsoleInput.h"
#include "Host/Text/Failure.h"
#include "Host/Text/Json.h"

namespace Zv::Host
{

namespace
{

class DefaultsCommand : public Command
{
public:
    DefaultsCommand()
        : Command{
              {.name = "defaults",
               .summary = "Restore the firmware's defaults",
               .details = R"(Prints that the firmware did it, or with --json its answer, {"result":N}: 0 when it did.
Another number is a refusal, such as for a wrong password, and ends in exit code 7.)",
               .examples = R"(wmihost defaults
wmihost defaults --yes --password - < password.txt)",
               .takesSecrets = true}}
    {
        m_password.Declare(m_arguments);
        m_arguments.Flag("--yes", m_yes, "Do not ask");
    }

    [[nodiscard]] ExitCode Run(Environment& environment) override
    {
        if (!m_yes)
        {
            Confirm(environment);
        }
        JsonObject request;
        m_password.AddTo(request, environment);
        return ChangeFirmware(environment, Zv::Tessel::Server::Services::FunctionNumber::SetBiosSystemDefaults, request,
                              {.subject = "the firmware's defaults", .done = "the firmware's defaults are restored"});
    }

private:
    void Confirm(const Environment& environment) const
    {
        if (m_password.ComesFromInput() && !InputIsConsole())
        {
            throw Failure{ExitCode::BadInput, "wmihost defaults: standard input gives the password, so that nobody can "
                                              "be asked: add --yes; see wmihost defaults --help"};
        }
        environment.Output().Prompt(
            "Restore the firmware's defaults? All settings of this machine will change. [y/N] ");
        const std::string answer = ReadInputLine(environment.GetInterruption()).value_or("");
        if (answer != "y" && answer != "Y" && answer != "yes")
        {
            throw Failure{ExitCode::BadInput, "nothing was changed: the answer was not y, which --yes gives at once"};
        }
    }

    PasswordOption m_password;
    bool m_yes = false;
};

} // namespace

std::unique_ptr<Command> MakeDefaultsCommand()
{
    return std::make_unique<DefaultsCommand>();
}

} // namespace Zv::Host
