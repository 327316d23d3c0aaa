// A simulated machine in the place of this one.
#pragma once

#include "Interception/Redirection.h"
#include "Simulator/Machine.h"
#include "Simulator/User/UserSession.h"

#include <windows.h>

#include <string>

namespace Zv::Host
{

// Throws Failure when the file cannot be read, DescriptionFailure when it is not valid.
[[nodiscard]] Simulator::Machine LoadMachine(const std::string& descriptionFile);

// While it lives, the attached module's requests for WMI objects are answered by the machine that a description file
// tells of, and those for the signed-in user, packages and processes by that machine's user session; the commands serve
// no remote call. Nothing else of the module is touched. One at a time. It must go before the module is unloaded.
class Simulation
{
public:
    // Throws as LoadMachine does.
    Simulation(const std::string& descriptionFile, Simulator::UserSessionOptions userOptions);
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;
    ~Simulation();

    // Once, before the module's own initialisation runs, so that what the module looks for then is simulated, too.
    void Attach(HMODULE module);

    [[nodiscard]] Simulator::Machine& Machine() noexcept { return m_machine; }
    [[nodiscard]] Simulator::UserSession& User() noexcept { return m_user; }

private:
    Interception::Redirection m_noRemoteCall; // first: undone when the machine has gone and with it its events
    Simulator::Machine m_machine;
    Simulator::UserSession m_user;           // works on the machine's description
    Interception::Redirection m_redirection; // last: undone before the machine goes
};

} // namespace Zv::Host
