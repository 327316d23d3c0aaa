#include "Host/Terminal/OutputStream.h"

#include "Host/Text/OutputFile.h"
#include "Platform/Windows/Utf8.h"

#include <algorithm>
#include <cwchar>

namespace Zv::Host
{

namespace
{

constexpr std::wstring_view SequenceBegin = L"\x1b[";

// What the sequence "ESC [ code m" means to a terminal that does not take it.
WORD AttributesOf(long code, WORD usual) noexcept
{
    switch (code)
    {
    case 1:
        return usual | FOREGROUND_INTENSITY;
    case 31:
        return FOREGROUND_RED | FOREGROUND_INTENSITY;
    case 32:
        return FOREGROUND_GREEN;
    case 33:
        return FOREGROUND_RED | FOREGROUND_GREEN;
    case 90:
        return FOREGROUND_INTENSITY;
    default:
        return usual;
    }
}

} // namespace

OutputStream::OutputStream(DWORD standardHandle) noexcept : m_handle{GetStdHandle(standardHandle)}
{
    DWORD mode = 0;
    m_isTerminal = GetConsoleMode(m_handle, &mode) != FALSE;
}

bool OutputStream::Write(std::string_view text)
{
    if (!m_isTerminal)
    {
        return WriteBytes(m_handle, text);
    }
    const std::wstring wide = ToUtf16(text);
    return m_hasColors && !m_takesSequences ? WriteInColors(wide) : WriteToTerminal(wide);
}

std::optional<std::size_t> OutputStream::Width() const noexcept
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!m_isTerminal || GetConsoleScreenBufferInfo(m_handle, &info) == FALSE)
    {
        return std::nullopt;
    }
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

void OutputStream::UseColor(ColorChoice choice)
{
    m_hasColors = choice == ColorChoice::Always || (choice == ColorChoice::Auto && m_isTerminal && UserWantsColor());
    m_takesSequences = m_hasColors && m_isTerminal && EnableSequences();
}

std::string OutputStream::In(Style style, std::string_view text) const
{
    return m_hasColors ? Styled(style, text) : std::string{text};
}

void OutputStream::Restore() noexcept
{
    if (m_modeBefore)
    {
        SetConsoleMode(m_handle, *m_modeBefore);
        m_modeBefore.reset();
    }
}

bool OutputStream::EnableSequences()
{
    CONSOLE_SCREEN_BUFFER_INFO before{};
    CONSOLE_SCREEN_BUFFER_INFO after{};
    DWORD mode = 0;
    if (GetConsoleScreenBufferInfo(m_handle, &before) == FALSE || GetConsoleMode(m_handle, &mode) == FALSE)
    {
        return false;
    }
    m_attributesBefore = before.wAttributes;
    const DWORD wanted = mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;
    if (mode != wanted && SetConsoleMode(m_handle, wanted) == FALSE)
    {
        return false;
    }
    m_modeBefore = m_modeBefore.value_or(mode);
    // Wine's console takes the mode and shows the sequences as they are: a style that changes nothing must leave the
    // cursor where it is.
    constexpr std::wstring_view nothing = L"\x1b[0m";
    if (WriteToTerminal(nothing) && GetConsoleScreenBufferInfo(m_handle, &after) != FALSE &&
        after.dwCursorPosition.X == before.dwCursorPosition.X)
    {
        return true;
    }
    DWORD written = 0;
    FillConsoleOutputCharacterW(m_handle, L' ', static_cast<DWORD>(nothing.size()), before.dwCursorPosition, &written);
    SetConsoleCursorPosition(m_handle, before.dwCursorPosition);
    return false;
}

// For a terminal that takes no sequences: those of Styled() become its attributes.
bool OutputStream::WriteInColors(std::wstring_view text)
{
    std::size_t written = 0;
    for (std::size_t begin = 0; (begin = text.find(SequenceBegin, begin)) != std::wstring_view::npos;)
    {
        const std::size_t digits = begin + SequenceBegin.size();
        const std::size_t end = std::min(text.find_first_not_of(L"0123456789", digits), text.size());
        if (end == text.size() || text[end] != L'm') // another sequence
        {
            begin = end;
            continue;
        }
        if (!WriteToTerminal(text.substr(written, begin - written)))
        {
            return false;
        }
        const long code = std::wcstol(std::wstring{text.substr(digits, end - digits)}.c_str(), nullptr, 10);
        SetConsoleTextAttribute(m_handle, AttributesOf(code, m_attributesBefore));
        begin = written = end + 1;
    }
    return WriteToTerminal(text.substr(written));
}

bool OutputStream::WriteToTerminal(std::wstring_view text)
{
    while (!text.empty())
    {
        // Terminals refuse very long writes.
        std::size_t portion = std::min<std::size_t>(text.size(), 8192);
        if (portion < text.size() && IS_HIGH_SURROGATE(text[portion - 1]))
        {
            --portion;
        }
        DWORD written = 0;
        if (WriteConsoleW(m_handle, text.data(), static_cast<DWORD>(portion), &written, nullptr) == FALSE ||
            written == 0)
        {
            return false;
        }
        text.remove_prefix(written);
    }
    return true;
}

} // namespace Zv::Host
