#include "Host/Terminal/ProgressLine.h"

#include "Host/Text/Numbers.h"

#include <utility>

namespace Zv::Host
{

namespace
{
constexpr std::chrono::seconds Patience{1};
}

ProgressLine::ProgressLine(std::string what, Now now, Show show)
    : m_what{std::move(what)},
      m_now{std::move(now)},
      m_show{std::move(show)},
      m_begin{m_now()}
{
}

void ProgressLine::Refresh()
{
    const auto elapsed = std::chrono::floor<std::chrono::seconds>(m_now() - m_begin);
    if (elapsed < Patience)
    {
        return;
    }
    m_isShown = true;
    m_show(m_what + ": " + (m_count == 0 ? "" : Counted(m_count, "object") + ", ") + std::to_string(elapsed.count()) +
           " s");
}

void ProgressLine::Remove()
{
    if (m_isShown)
    {
        m_isShown = false;
        m_show({});
    }
}

} // namespace Zv::Host
