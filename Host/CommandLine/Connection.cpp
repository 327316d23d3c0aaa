#include "Host/CommandLine/Connection.h"

#include "Host/Trace/Imports.h"
#include "Platform/Windows/Utf8.h"

#include "Interception/LoadWatch.h"
#include "Interception/ModuleExports.h"

#include <filesystem>

namespace Zv::Host
{

Connection::~Connection()
{
    if (m_module)
    {
        m_ending.emplace(*m_times, "ending");
    }
}

Module& Connection::LoadedModule()
{
    if (m_module)
    {
        return *m_module;
    }
    const LegTimes::Leg loading{*m_times, "loading the module"};
    const std::filesystem::path path =
        m_modulePath.empty() ? Module::DefaultPath() : std::filesystem::path{ToUtf16(m_modulePath)};
    if (!m_simulateFile.empty())
    {
        m_simulation = std::make_unique<Simulation>(m_simulateFile, std::move(m_userOptions));
        m_simulated = m_simulation.get();
    }
    if (m_simulation || m_trace)
    {
        Interception::LoadWatch watch{path.filename().wstring(), [this](HMODULE module) { Redirect(module); }};
        m_module.emplace(path);
        watch.Rethrow();
    }
    else
    {
        m_module.emplace(path);
    }
    Interception::BindModuleExports(m_module->Library());
    return *m_module;
}

void Connection::Redirect(HMODULE module)
{
    if (m_simulation)
    {
        m_simulation->Attach(module);
    }
    if (m_trace)
    {
        Tracing::TraceImports(module, *m_trace); // and with them the simulated machine's
    }
}

Zv::Tessel::Server::Services::ZVService& Connection::Service()
{
    Module& module = LoadedModule();
    if (!m_trace)
    {
        return module.Service();
    }
    if (!m_tracedService)
    {
        m_tracedService.emplace(module.Service());
    }
    return *m_tracedService;
}

Session& Connection::OpenSession()
{
    if (!m_session)
    {
        auto& service = Service();
        const LegTimes::Leg starting{*m_times, "starting the session"};
        m_session.emplace(service, *m_times);
    }
    return *m_session;
}

} // namespace Zv::Host
