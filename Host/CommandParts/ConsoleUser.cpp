#include "Host/CommandParts/ConsoleUser.h"

#include "Host/Text/Failure.h"

namespace Zv::Host
{

using Tessel::Server::Services::Launcher;

bool ConsoleUser::HasPackages(Environment& environment)
{
    static_cast<void>(environment.LoadedModule());
    return environment.Simulated() != nullptr ||
           GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "FindPackagesByPackageFamily") != nullptr;
}

ConsoleUser::ConsoleUser(Environment& environment)
{
    if (!HasPackages(environment))
    {
        throw Failure{ExitCode::CommandFailed, "this system has no packages; --simulate FILE takes a machine that has"};
    }
    m_launcher = std::make_unique<const Tessel::Server::Services::Launcher>();
}

std::shared_ptr<void> ConsoleUser::Token() const
{
    std::shared_ptr<void> token = m_launcher->GetUserTokenForCurrentUser(TokenImpersonation);
    if (token == nullptr || token.get() == INVALID_HANDLE_VALUE)
    {
        Fail("no token of the console user, which needs a user who is signed in and the rights of a service");
    }
    return token;
}

void ConsoleUser::Fail(const std::string& text) const
{
    const std::string problem = m_watch.Problem();
    throw Failure{ExitCode::CommandFailed, problem.empty() ? text : text + ": " + problem};
}

} // namespace Zv::Host
