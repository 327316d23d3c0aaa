#include "Host/Shell/Notices.h"

namespace Zv::Host
{

void Notices::Show(const std::string& line)
{
    const std::lock_guard held{m_mutex}; // while it is printed, too: the prompt must not get between
    if (!m_held)
    {
        m_console.WriteLine(line);
        return;
    }
    m_lines += line + '\n';
    m_kept.Set();
}

void Notices::Hold()
{
    const std::lock_guard held{m_mutex};
    m_held = true;
}

void Notices::Release()
{
    const std::lock_guard held{m_mutex};
    m_held = false;
    static_cast<void>(WaitForSingleObject(m_kept.Event(), 0)); // which resets it
    if (!m_lines.empty())
    {
        m_console.Write(m_lines);
        m_lines.clear();
    }
}

} // namespace Zv::Host
