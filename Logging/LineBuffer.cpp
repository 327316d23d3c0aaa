#include "Logging/LineBuffer.h"

#include "Platform/Windows/FormatText.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>

namespace Logging
{

const wchar_t* LevelName(Level level) noexcept
{
    switch (level)
    {
    case Level::Info:
        return L"info";
    case Level::Warning:
        return L"warning";
    case Level::Error:
        break;
    }
    return L"error";
}

LineBuffer::LineBuffer(Level level, const wchar_t* context) noexcept
{
    Append(LevelName(level), MaxPrefix);
    Append(L" ", 1);
    m_contextBegin = m_length;
    if (context != nullptr && *context != L'\0')
    {
        Append(L"[", 1);
        Append(context, MaxContext);
        Append(L"] ", 2);
    }
    m_textBegin = m_length;
}

void LineBuffer::Append(const wchar_t* text, std::size_t limit) noexcept
{
    const std::size_t length = wcsnlen(text, limit);
    std::copy_n(text, length, m_characters + m_length);
    m_length += length;
}

void LineBuffer::Format(const wchar_t* format, va_list arguments) noexcept
{
    wchar_t* const text = m_characters + m_textBegin;

    // A negative result means that the text was cut, without a terminator, or that a narrow argument could not be
    // converted; what was written up to there is kept. One character more than a line may have tells the two apart.
    const int written =
        Zv::Tessel::Server::Shared::FormatText(text, MaxText + 1, format != nullptr ? format : L"(null)", arguments);
    std::size_t length = written >= 0 ? static_cast<std::size_t>(written) : wcsnlen(text, MaxText + 1);
    if (length > MaxText)
    {
        m_cut = true;
        length = IS_HIGH_SURROGATE(text[MaxText - 1]) ? MaxText - 1 : MaxText;
        std::fill_n(text + length, MaxText + 1 - length, L'\0');
    }
    m_length += length;
}

const wchar_t* LineBuffer::Finish() noexcept
{
    m_characters[m_length++] = L'\n';
    return m_characters;
}

} // namespace Logging
