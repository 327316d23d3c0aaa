#include "Host/Console.h"

#include "Host/Failure.h"
#include "Host/OutputFile.h"
#include "Host/SystemError.h"
#include "Host/Utf.h"

#include <algorithm>
#include <string>

namespace Zv::Host
{

Console::Stream::Stream(DWORD standardHandle) noexcept : m_handle{GetStdHandle(standardHandle)}
{
    DWORD mode = 0;
    m_isConsole = GetConsoleMode(m_handle, &mode) != FALSE;
}

bool Console::Stream::Write(std::string_view text)
{
    return m_isConsole ? WriteToConsole(text) : WriteBytes(m_handle, text);
}

void Console::Stream::UseColor(ColorChoice choice)
{
    m_hasColors = choice == ColorChoice::Always || (choice == ColorChoice::Auto && m_isConsole && UserWantsColor());
    DWORD mode = 0;
    if (!m_hasColors || !m_isConsole || GetConsoleMode(m_handle, &mode) == FALSE ||
        (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0)
    {
        return;
    }
    if (SetConsoleMode(m_handle, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE)
    {
        m_modeBefore = mode;
    }
    else
    {
        m_hasColors = choice == ColorChoice::Always; // a console of old, which shows the sequences as they are
    }
}

std::string Console::Stream::In(Style style, std::string_view text) const
{
    return m_hasColors ? Styled(style, text) : std::string{text};
}

std::optional<std::size_t> Console::Stream::Width() const noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!m_isConsole || GetConsoleScreenBufferInfo(m_handle, &info) == FALSE)
    {
        return std::nullopt;
    }
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

void Console::Stream::Restore() noexcept
{
    if (m_modeBefore)
    {
        SetConsoleMode(m_handle, *m_modeBefore);
        m_modeBefore.reset();
    }
}

bool Console::Stream::WriteToConsole(std::string_view text)
{
    const std::wstring wide = ToUtf16(text);
    std::wstring_view left = wide;
    while (!left.empty())
    {
        // Consoles refuse very long writes.
        std::size_t portion = std::min<std::size_t>(left.size(), 8192);
        if (portion < left.size() && IS_HIGH_SURROGATE(left[portion - 1]))
        {
            --portion;
        }
        DWORD written = 0;
        if (WriteConsoleW(m_handle, left.data(), static_cast<DWORD>(portion), &written, nullptr) == FALSE ||
            written == 0)
        {
            return false;
        }
        left.remove_prefix(written);
    }
    return true;
}

Console::Console() : m_output{STD_OUTPUT_HANDLE}, m_error{STD_ERROR_HANDLE} {}

void Console::UseColor(ColorChoice choice)
{
    m_output.UseColor(choice);
    m_error.UseColor(choice);
}

void Console::RestoreTerminal() noexcept
{
    m_error.Restore();
    m_output.Restore();
}

void Console::Write(std::string_view text)
{
    const std::lock_guard held{m_mutex};
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
        static_cast<void>(m_error.Write(text));
    }
    catch (const std::bad_alloc&)
    {
        return; // likewise
    }
}

} // namespace Zv::Host
