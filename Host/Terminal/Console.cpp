#include "Host/Terminal/Console.h"

#include "Host/Text/Failure.h"
#include "Host/Text/SystemError.h"

#include <new>
#include <string>

namespace Zv::Host
{

Console::Console()
    : m_output{STD_OUTPUT_HANDLE},
      m_error{STD_ERROR_HANDLE},
      m_status{[this](std::string_view text) { static_cast<void>(m_error.Write(text)); }}
{
}

void Console::UseColor(ColorChoice choice)
{
    m_output.UseColor(choice);
    m_error.UseColor(choice);
}

void Console::RestoreTerminal() noexcept
{
    const std::lock_guard held{m_mutex};
    m_isOver = true;
    m_error.Restore();
    m_output.Restore();
}

void Console::Write(std::string_view text)
{
    const std::lock_guard held{m_mutex};
    m_status.Clear();
    if (!m_output.Write(text))
    {
        throw Failure{ExitCode::InputOutput, "cannot write to standard output: " + SystemErrorText(GetLastError())};
    }
}

void Console::WriteLine(std::string_view text)
{
    Write(std::string{text} + '\n');
}

void Console::WriteErrorLine(std::string_view text, Style style) noexcept
{
    try
    {
        Prompt(OnError(style, text) + '\n');
    }
    catch (const std::bad_alloc&)
    {
        return; // nor could its report be written
    }
}

void Console::Prompt(std::string_view text) noexcept
{
    try
    {
        const std::lock_guard held{m_mutex};
        m_status.Clear();
        static_cast<void>(m_error.Write(text));
    }
    catch (const std::bad_alloc&)
    {
        return; // likewise
    }
}

void Console::ShowStatus(std::string_view text) noexcept
{
    try
    {
        const std::lock_guard held{m_mutex};
        if (text.empty())
        {
            m_status.Clear();
        }
        else if (m_error.IsTerminal() && !m_isOver)
        {
            m_status.Show(text, m_error.Width());
        }
    }
    catch (const std::bad_alloc&)
    {
        return; // likewise
    }
}

} // namespace Zv::Host
