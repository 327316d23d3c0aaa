#include "Host/Terminal/StatusLine.h"

#include "Host/Terminal/DisplayWidth.h"

#include <string>

namespace Zv::Host
{

void StatusLine::Show(std::string_view text, std::optional<std::size_t> terminalWidth)
{
    // The last column stays free: a terminal may begin a line behind it.
    const std::string shown = CutToWidth(text, terminalWidth.value_or(80) - 1);
    const std::size_t width = DisplayWidth(shown);
    const std::string rest(m_width > width ? m_width - width : 0, ' ');
    m_write('\r' + shown + rest + std::string(rest.size(), '\b'));
    m_width = width;
}

void StatusLine::Clear()
{
    if (m_width > 0)
    {
        m_write('\r' + std::string(m_width, ' ') + '\r');
        m_width = 0;
    }
}

} // namespace Zv::Host
