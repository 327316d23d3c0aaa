#include "Host/CommandLine/Simulation.h"

#include "Host/Text/Failure.h"
#include "Host/Text/RequestText.h"

#include "Interception/ImportTable.h"

#include <combaseapi.h>
#include <rpc.h>

#include <atomic>
#include <utility>

namespace Zv::Host
{

namespace
{

// The machine that answers; set while a Simulation lives. The replaced import carries no context of its own.
std::atomic<Simulator::Machine*> g_machine = nullptr;

HRESULT WINAPI CreateSimulatedInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** result)
{
    Simulator::Machine* const machine = g_machine;
    return machine != nullptr ? machine->CreateInstance(classId, outer, context, iid, result)
                              : CoCreateInstance(classId, outer, context, iid, result);
}

// As Windows answers on a thread that serves no remote call. Wine has no such function.
RPC_STATUS RPC_ENTRY NoRemoteCall(RPC_BINDING_HANDLE, void*)
{
    return RPC_S_NO_CALL_ACTIVE;
}

} // namespace

Simulator::Machine LoadMachine(const std::string& descriptionFile)
{
    const std::string json = ReadAll(descriptionFile);
    try
    {
        return Simulator::Machine::Parse(json);
    }
    catch (const Simulator::DescriptionError& error)
    {
        throw DescriptionFailure{descriptionFile, error};
    }
}

Simulation::Simulation(const std::string& descriptionFile, Simulator::UserSessionOptions userOptions)
    : m_machine{LoadMachine(descriptionFile)},
      m_user{m_machine.GetDescription(), std::move(userOptions)}
{
    g_machine = &m_machine;
}

void Simulation::Attach(HMODULE module)
{
    const Interception::ImportTable imports{module};
    m_redirection = imports.Redirect("ole32.dll", "CoCreateInstance", &CreateSimulatedInstance);
    m_noRemoteCall = imports.Redirect("rpcrt4.dll", "RpcServerInqCallAttributesW", &NoRemoteCall);
    m_user.Attach(module);
}

Simulation::~Simulation()
{
    m_redirection.Restore();
    g_machine = nullptr;
}

} // namespace Zv::Host
