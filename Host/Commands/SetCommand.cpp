#include "Host/CommandParts/FirmwareReply.h"
#include "Host/CommandParts/PasswordOption.h"
#include "Host/Commands/CommandTable.h"
#include "Host/Text/Json.h"

namespace Zv::Host
{

namespace
{

constexpr char Details[] = R"(Prints that the firmware did it, or with --json its answer, {"result":N}: 0 when it did.
Another number is a refusal, such as for a wrong password, and ends in exit code 7.

Other users of this machine can see a password that stands on the command line.)";

constexpr char Examples[] = R"(wmihost set "Fast Boot" Disable
wmihost set "Wake On LAN" Disabled --password -)";

class SetCommand : public Command
{
public:
    [[nodiscard]] const char* Name() const noexcept override { return "set"; }
    [[nodiscard]] const char* Description() const noexcept override { return "Change a firmware setting"; }
    [[nodiscard]] bool TakesSecrets() const noexcept override { return true; }
    [[nodiscard]] HelpText Help() const noexcept override { return {Details, Examples}; }

    void Declare(CLI::App& parser) override
    {
        parser.add_option("NAME", m_name, "Setting, such as \"Fast Boot\"")->required();
        parser.add_option("VALUE", m_value, "Its new value, such as Disable")->required();
        m_password.Declare(parser);
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
