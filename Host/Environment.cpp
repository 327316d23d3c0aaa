#include "Host/Environment.h"

#include "Host/Utf.h"

#include "Interception/LoadWatch.h"
#include "Interception/ModuleExports.h"
#include "Logging/Logging.h"

namespace Zv::Host
{

namespace
{
constexpr wchar_t LoggingProvider[] = L"Zv-Tessel-SystemInformation";
}

Environment::Environment(const GlobalOptions& options, Console& console, const Interruption& interruption)
    : m_options{options},
      m_console{console},
      m_interruption{interruption}
{
    Logging::LogManager::SetProvider(LoggingProvider);
    if (m_options.log)
    {
        m_log.emplace(*m_options.log, m_console);
    }
}

Module& Environment::LoadedModule()
{
    if (m_module)
    {
        return *m_module;
    }
    const std::filesystem::path path =
        m_options.modulePath.empty() ? Module::DefaultPath() : std::filesystem::path{ToUtf16(m_options.modulePath)};
    if (m_options.simulateFile.empty())
    {
        m_module.emplace(path);
    }
    else
    {
        m_simulation = std::make_unique<Simulation>(m_options.simulateFile, std::move(m_userOptions));
        m_simulated = m_simulation.get();
        Interception::LoadWatch watch{path.filename().wstring(),
                                      [this](HMODULE module) { m_simulation->Attach(module); }};
        m_module.emplace(path);
        watch.Rethrow();
    }
    Interception::BindModuleExports(m_module->Library());
    return *m_module;
}

Session& Environment::OpenSession()
{
    if (!m_session)
    {
        m_session.emplace(LoadedModule().Service());
    }
    return *m_session;
}

} // namespace Zv::Host
