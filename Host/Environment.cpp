#include "Host/Environment.h"

#include "Logging/Logging.h"

namespace Zv::Host
{

namespace
{
constexpr wchar_t LoggingProvider[] = L"Zv-Tessel-SystemInformation";
}

Environment::Environment(const GlobalOptions& options, Console& console, const Interruption& interruption,
                         std::shared_ptr<Connection> connection)
    : m_options{options},
      m_console{console},
      m_interruption{interruption},
      m_connection{std::move(connection)}
{
    Logging::LogManager::SetProvider(LoggingProvider);
    if (m_options.log)
    {
        m_log.emplace(*m_options.log, m_console);
    }
}

} // namespace Zv::Host
