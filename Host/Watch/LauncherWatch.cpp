#include "Host/Watch/LauncherWatch.h"

#include "Host/Text/Utf.h"

#include <new>
#include <string_view>

namespace Zv::Host
{

LauncherWatch::LauncherWatch() : m_sink{Logging::Sinks::Add(Logging::Level::Warning, &Keep, this)} {}

std::string LauncherWatch::Problem() const
{
    const std::lock_guard held{m_mutex};
    std::string problem = ToUtf8(m_text);
    if (problem.ends_with('.'))
    {
        problem.pop_back();
    }
    return problem;
}

void LauncherWatch::Keep(const Logging::LogLine& line, void* self) noexcept
{
    auto& watch = *static_cast<LauncherWatch*>(self);
    const std::wstring_view text{line.text, line.length};
    // The launcher writes that one line when all is well.
    if (line.overload != Logging::Overload::Text || text == L"Problem while impersonating logged in user.")
    {
        return;
    }
    try
    {
        const std::lock_guard held{watch.m_mutex};
        watch.m_text.assign(text);
    }
    catch (const std::bad_alloc&)
    {
        return; // the error line goes without it
    }
}

} // namespace Zv::Host
