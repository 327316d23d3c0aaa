#include "Host/CommandLine/Environment.h"

#include "Host/Text/Failure.h"

#include "Logging/Logging.h"

namespace Zv::Host
{

namespace
{
constexpr wchar_t LoggingProvider[] = L"Zv-Tessel-SystemInformation";
}

Environment::Environment(const GlobalOptions& options, Console& console, const Interruption& interruption,
                         std::shared_ptr<Connection> connection, bool isInShell)
    : m_options{options},
      m_console{console},
      m_interruption{interruption},
      m_isInShell{isInShell},
      m_connection{std::move(connection)}
{
    Logging::LogManager::SetProvider(LoggingProvider);
    if (m_options.log)
    {
        m_log.emplace(*m_options.log, m_console);
    }
}

void Environment::CheckInput(const std::string& file) const
{
    if (m_isInShell && file == "-")
    {
        throw Failure{ExitCode::BadInput, "the shell reads its lines from standard input; name a file instead of -"};
    }
}

} // namespace Zv::Host
