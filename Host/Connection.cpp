#include "Host/Connection.h"

#include "Host/Utf.h"

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
    if (m_simulateFile.empty())
    {
        m_module.emplace(path);
    }
    else
    {
        m_simulation = std::make_unique<Simulation>(m_simulateFile, std::move(m_userOptions));
        m_simulated = m_simulation.get();
        Interception::LoadWatch watch{path.filename().wstring(),
                                      [this](HMODULE module) { m_simulation->Attach(module); }};
        m_module.emplace(path);
        watch.Rethrow();
    }
    Interception::BindModuleExports(m_module->Library());
    return *m_module;
}

Session& Connection::OpenSession()
{
    if (!m_session)
    {
        Module& module = LoadedModule();
        const LegTimes::Leg starting{*m_times, "starting the session"};
        m_session.emplace(module.Service(), *m_times);
    }
    return *m_session;
}

} // namespace Zv::Host
