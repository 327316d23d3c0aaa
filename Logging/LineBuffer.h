// A log line under construction.
#pragma once

#include "Logging/Sinks.h"

#include <cstdarg>
#include <cstddef>

namespace Logging
{

// Holds "level [context] text" in one block on the stack, so that outputs that want the text alone, or with its
// context, or all of it, share one formatting. Never allocates; what does not fit is cut.
class LineBuffer
{
public:
    LineBuffer(Level level, const wchar_t* context) noexcept;
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    ~LineBuffer() = default;

    // Appends the text, once. Formats as the C runtime's wide functions do: %s is wide, %S is narrow.
    void Format(const wchar_t* format, va_list arguments) noexcept;

    [[nodiscard]] const wchar_t* Text() const noexcept { return m_characters + m_textBegin; }
    [[nodiscard]] std::size_t TextLength() const noexcept { return m_length - m_textBegin; }
    [[nodiscard]] bool IsCut() const noexcept { return m_cut; }

    // "[context] text", or the text alone where there is no context.
    [[nodiscard]] const wchar_t* TextWithContext() const noexcept { return m_characters + m_contextBegin; }

    // The whole line with a line feed. The other parts are not to be used afterwards.
    [[nodiscard]] const wchar_t* Finish() noexcept;

private:
    static constexpr std::size_t MaxContext = 128;
    static constexpr std::size_t MaxText = 4095;
    static constexpr std::size_t MaxPrefix = 8 + 1 + MaxContext + 2; // level and blank, brackets, blank
    static constexpr std::size_t Capacity = MaxPrefix + MaxText + 2; // line feed, terminator

    void Append(const wchar_t* text, std::size_t limit) noexcept;

    wchar_t m_characters[Capacity]{};
    std::size_t m_length = 0;
    std::size_t m_contextBegin = 0;
    std::size_t m_textBegin = 0;
    bool m_cut = false;
};

[[nodiscard]] const wchar_t* LevelName(Level level) noexcept;

} // namespace Logging
