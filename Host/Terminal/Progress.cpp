#include "Host/Terminal/Progress.h"

#include <utility>

namespace Zv::Host
{

namespace
{
constexpr std::chrono::milliseconds RefreshTime{200};
}

Progress::Progress(Console& console, std::string what)
    : m_line{std::move(what), &ProgressLine::Clock::now,
             [&console](std::string_view text) { console.ShowStatus(text); }}
{
    if (console.ErrorIsTerminal())
    {
        m_thread = std::thread{[this] { Run(); }};
    }
}

Progress::~Progress()
{
    {
        const std::lock_guard held{m_mutex};
        m_isOver = true;
    }
    m_over.notify_one();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void Progress::SetWhat(std::string what)
{
    const std::lock_guard held{m_mutex};
    m_line.SetWhat(std::move(what));
}

void Progress::Count()
{
    const std::lock_guard held{m_mutex};
    m_line.Count();
}

void Progress::SetCount(std::size_t count)
{
    const std::lock_guard held{m_mutex};
    m_line.SetCount(count);
}

void Progress::Run()
{
    std::unique_lock held{m_mutex};
    while (!m_over.wait_for(held, RefreshTime, [this] { return m_isOver; }))
    {
        m_line.Refresh();
    }
    m_line.Remove();
}

} // namespace Zv::Host
