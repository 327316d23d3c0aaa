// The console user of a simulated machine: token, profile, packages, and the programs started for that user.
#pragma once

#include "Simulator/Description/Description.h"

#include <windows.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zv::Simulator
{

// A process that was created for the user.
struct StartedProcess
{
    std::wstring application; // as the caller named it, with the alias's folder
    std::wstring commandLine;
    std::wstring directory;
    std::vector<std::wstring> environment; // NAME=value
    DWORD flags = 0;
    bool inheritsHandles = false;
    DWORD processId = 0;
    std::wstring program;          // what really runs; empty for a process that is only pretended
    std::shared_ptr<void> process; // its handle, to wait for; null for a pretended one
};

// What the module took and has not given back.
struct OutstandingOfUser
{
    std::size_t tokens = 0;
    std::size_t environments = 0;
    std::size_t packageInfos = 0;
    std::size_t processHandles = 0; // of processes and their first threads
    std::size_t impersonations = 0; // threads that act as the user

    [[nodiscard]] std::size_t Total() const noexcept
    {
        return tokens + environments + packageInfos + processHandles + impersonations;
    }
};

struct UserSessionOptions
{
    // An alias whose package names an executable really starts it, through the platform's CreateProcessAsUserW. Other
    // aliases are pretended.
    bool launchForReal = false;
    // Called for each process that was created, on the thread that created it. Must not throw.
    std::function<void(const StartedProcess&)> onStart{};
};

// While it lives, the calls of the attached module for sessions, tokens, profiles, packages and processes are answered
// from the description. Tokens are real ones, of the user who runs this program, so that they can be duplicated and
// impersonated. Only a thread that impersonates the user finds packages: a service's own account has none. One at a
// time per process; calls may come on any thread.
class UserSession
{
public:
    // The description must outlive it.
    UserSession(const Description& description, UserSessionOptions options = {});
    UserSession(const UserSession&) = delete;
    UserSession& operator=(const UserSession&) = delete;
    ~UserSession();

    // Redirects the module's imports. Made before the module's own initialisation runs (Interception::LoadWatch), this
    // also decides whether the module finds the session API set; later the module has looked already.
    void Attach(HMODULE module);

    [[nodiscard]] std::vector<StartedProcess> Started() const;
    [[nodiscard]] OutstandingOfUser Outstanding() const;

private:
    struct Redirections;

    std::shared_ptr<class UserSessionState> m_state; // calls that are under way share it
    std::unique_ptr<Redirections> m_redirections;
};

} // namespace Zv::Simulator
