#include "Host/CommandParts/PasswordOption.h"

#include "Host/Terminal/ConsoleInput.h"
#include "Host/Text/Failure.h"

namespace Zv::Host
{

namespace
{

std::string ReadPassword(const Environment& environment)
{
    Console& console = environment.Output();
    const bool asks = InputIsConsole();
    if (asks)
    {
        console.Prompt("Setup password: ");
    }
    const HiddenInput hidden;
    std::optional<std::string> line = ReadInputLine(environment.GetInterruption());
    if (asks)
    {
        console.Prompt("\n"); // the one that was typed is not shown either
    }
    if (!line)
    {
        throw Failure{ExitCode::BadInput, "no password came from standard input; --password - takes its first line"};
    }
    return *std::move(line);
}

} // namespace

void PasswordOption::Declare(Arguments& arguments)
{
    arguments
        .Option("--password", m_text,
                "Setup password; - asks for it, or takes a line of standard input where nobody types")
        .Type("TEXT|-");
}

void PasswordOption::AddTo(JsonObject& request, const Environment& environment) const
{
    if (m_text)
    {
        request.Add("password", ComesFromInput() ? ReadPassword(environment) : *m_text);
    }
}

} // namespace Zv::Host
