#include "Platform.h"

#include "Logging/Logging.h"
#include "Tests/Support/ThisBuild.h"

#include <evntprov.h>

#include <cstdarg>
#include <cstddef>
#include <cstdlib>

namespace Zv::Testing
{

namespace
{

Platform* g_platform = nullptr; // the one that lives
ThisBuild::FormatterFunction* g_format = nullptr;

// Told apart from the handles that the system gives out.
constexpr REGHANDLE FirstHandle = 0x7e57000000000000;

} // namespace

struct Platform::Calls
{
    static ULONG WINAPI Register(LPCGUID id, PENABLECALLBACK, PVOID, PREGHANDLE handle)
    {
        const std::lock_guard held{g_platform->m_mutex};
        g_platform->m_registered.push_back(*id);
        if (g_platform->registerResult != ERROR_SUCCESS)
        {
            return g_platform->registerResult;
        }
        *handle = FirstHandle + g_platform->m_registered.size() - 1;
        g_platform->m_open.insert(*handle);
        return ERROR_SUCCESS;
    }

    static ULONG WINAPI Unregister(REGHANDLE handle)
    {
        const std::lock_guard held{g_platform->m_mutex};
        g_platform->m_open.erase(handle);
        return ERROR_SUCCESS;
    }

    static BOOLEAN WINAPI Enabled(REGHANDLE, UCHAR level, ULONGLONG) { return level <= g_platform->traceLevel; }

    static ULONG WINAPI WriteString(REGHANDLE handle, UCHAR level, ULONGLONG, PCWSTR text)
    {
        const std::lock_guard held{g_platform->m_mutex};
        if (g_platform->m_open.count(handle) == 0)
        {
            ++g_platform->m_eventsWithoutRegistration;
            return ERROR_INVALID_HANDLE;
        }
        g_platform->m_events.push_back(
            {level, text, g_platform->m_registered[static_cast<std::size_t>(handle - FirstHandle)]});
        return ERROR_SUCCESS;
    }

    static BOOL WINAPI DebuggerPresent() { return g_platform->debuggerPresent; }

    static void WINAPI DebugString(LPCWSTR text)
    {
        const std::lock_guard held{g_platform->m_mutex};
        g_platform->m_debuggerLines.emplace_back(text);
    }

    template <class... Arguments>
    static int Format(Arguments... arguments)
    {
        ++g_platform->formatted;
        return g_format(arguments...);
    }
};

Platform::Platform()
{
    if (g_platform != nullptr)
    {
        std::abort();
    }
    g_platform = this;
    const Interception::ImportTable table{GetModuleHandleW(L"Logging.dll")};
    m_redirections.push_back(table.Redirect("advapi32.dll", "EventRegister", &Calls::Register));
    m_redirections.push_back(table.Redirect("advapi32.dll", "EventUnregister", &Calls::Unregister));
    m_redirections.push_back(table.Redirect("advapi32.dll", "EventProviderEnabled", &Calls::Enabled));
    m_redirections.push_back(table.Redirect("advapi32.dll", "EventWriteString", &Calls::WriteString));
    m_redirections.push_back(table.Redirect("kernel32.dll", "IsDebuggerPresent", &Calls::DebuggerPresent));
    m_redirections.push_back(table.Redirect("kernel32.dll", "OutputDebugStringW", &Calls::DebugString));
    ThisBuild::FormatterFunction* const format = &Calls::Format;
    m_redirections.push_back(table.Redirect("*", ThisBuild::Formatter, format));
    g_format = m_redirections.back().Original<ThisBuild::FormatterFunction*>();

    // The provider that was set before is registered elsewhere.
    Logging::LogManager::SetProvider(L"Zv-Tessel-Platform");
    m_earlierRegistrations = m_registered.size();
}

Platform::~Platform()
{
    m_redirections.clear();
    g_platform = nullptr;
}

std::vector<GUID> Platform::Registered() const
{
    const std::lock_guard held{m_mutex};
    return {m_registered.begin() + static_cast<std::ptrdiff_t>(m_earlierRegistrations), m_registered.end()};
}

std::vector<GUID> Platform::StillRegistered() const
{
    const std::lock_guard held{m_mutex};
    std::vector<GUID> ids;
    for (const unsigned long long handle : m_open)
    {
        ids.push_back(m_registered[static_cast<std::size_t>(handle - FirstHandle)]);
    }
    return ids;
}

std::vector<Platform::Event> Platform::Events() const
{
    const std::lock_guard held{m_mutex};
    return m_events;
}

std::vector<std::wstring> Platform::DebuggerLines() const
{
    const std::lock_guard held{m_mutex};
    return m_debuggerLines;
}

int Platform::EventsWithoutRegistration() const
{
    const std::lock_guard held{m_mutex};
    return m_eventsWithoutRegistration;
}

} // namespace Zv::Testing
