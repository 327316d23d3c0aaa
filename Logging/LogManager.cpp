#include "Logging/LogWriter.h"
#include "Logging/Logging.h"
#include "Logging/ProviderId.h"

#include <atomic>

namespace Logging
{

namespace
{
constinit std::atomic<bool> g_providerSet = false;
}

// May be called again, from any thread. The same name in any case changes nothing; another name takes the place of the
// one before, for lines that are written from then on, and the logger stays the same object. A name with which the
// system refuses to trace sets the provider all the same: the logger then writes to its other outputs.
bool LogManager::SetProvider(const wchar_t* name)
{
    if (name == nullptr || *name == L'\0')
    {
        return false;
    }
    LogWriter::Instance().Provider().Use(ProviderIdFromName(name));
    g_providerSet.store(true, std::memory_order_release);
    return true;
}

TraceLogger* LogManager::GetLogger()
{
    static TraceLogger logger;
    return g_providerSet.load(std::memory_order_acquire) ? &logger : nullptr;
}

} // namespace Logging
