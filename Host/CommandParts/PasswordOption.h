// The option --password of the subcommands that change the firmware's settings.
#pragma once

#include "Host/CommandLine/Arguments.h"
#include "Host/CommandLine/Environment.h"
#include "Host/Text/Json.h"

#include <optional>
#include <string>

namespace Zv::Host
{

// A password is sent to the module and shown to nobody: in no line of output, error or log.
class PasswordOption
{
public:
    void Declare(Arguments& arguments);

    // True when AddTo will take a line from standard input, be it typed or not.
    [[nodiscard]] bool ComesFromInput() const noexcept { return m_text == "-"; }

    // Adds "password" where one is given. Throws Failure when it cannot be read.
    void AddTo(JsonObject& request, const Environment& environment) const;

private:
    std::optional<std::string> m_text;
};

} // namespace Zv::Host
