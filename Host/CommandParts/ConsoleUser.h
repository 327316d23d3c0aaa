// The module's launcher, as the subcommands about the console user need it.
#pragma once

#include "Host/CommandLine/Environment.h"
#include "Host/Watch/ProblemWatch.h"

#include "Services/Launcher/Launcher.h"

#include <memory>
#include <string>

namespace Zv::Host
{

// Loads the module. Failures name what the launcher logged.
class ConsoleUser
{
public:
    // Whether the module can ask for packages: without them its calls would end the program.
    [[nodiscard]] static bool HasPackages(Environment& environment);

    // Throws Failure: ModuleMissing, or CommandFailed on a system that has no packages.
    explicit ConsoleUser(Environment& environment);
    ConsoleUser(const ConsoleUser&) = delete;
    ConsoleUser& operator=(const ConsoleUser&) = delete;
    ~ConsoleUser() = default;

    [[nodiscard]] const Tessel::Server::Services::Launcher& Launcher() const noexcept { return *m_launcher; }

    // A token to impersonate the user with. Throws Failure(CommandFailed) when there is none.
    [[nodiscard]] std::shared_ptr<void> Token() const;

    // Throws Failure(CommandFailed): the text, and what was logged.
    [[noreturn]] void Fail(const std::string& text) const;

private:
    ProblemWatch m_watch; // of the launcher
    std::unique_ptr<const Tessel::Server::Services::Launcher> m_launcher;
};

} // namespace Zv::Host
