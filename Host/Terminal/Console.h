// Standard output and standard error.
#pragma once

#include "Host/Terminal/OutputStream.h"
#include "Host/Terminal/StatusLine.h"
#include "Host/Terminal/Style.h"

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

// Takes UTF-8. May be used by several threads; lines stay whole.
class Console
{
public:
    Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() = default;

    // There are no colours before this. To be called before other threads write.
    void UseColor(ColorChoice choice);
    [[nodiscard]] bool OutputHasColors() const noexcept { return m_output.HasColors(); }
    [[nodiscard]] bool ErrorHasColors() const noexcept { return m_error.HasColors(); }
    // The text in that style where the stream has colours.
    [[nodiscard]] std::string OnOutput(Style style, std::string_view text) const { return m_output.In(style, text); }
    [[nodiscard]] std::string OnError(Style style, std::string_view text) const { return m_error.In(style, text); }

    // Columns of the terminal that standard output is; nothing where it is a pipe or a file.
    [[nodiscard]] std::optional<std::size_t> OutputWidth() const noexcept { return m_output.Width(); }

    // Gives the terminal back as it was, for when the process ends without a return from main. Nothing is written
    // after.
    void RestoreTerminal() noexcept;

    // Standard output. Throws Failure(InputOutput) when it cannot be written.
    void Write(std::string_view text);
    void WriteLine(std::string_view text);

    // Standard error. A line that cannot be written is lost.
    void WriteErrorLine(std::string_view text, Style style = Style::Plain) noexcept;
    void Prompt(std::string_view text) noexcept; // stays in its line

    // A line of standard error, where that is a terminal, that is gone before anything else is written; an empty text
    // removes it.
    void ShowStatus(std::string_view text) noexcept;
    [[nodiscard]] bool ErrorIsTerminal() const noexcept { return m_error.IsTerminal(); }

private:
    std::mutex m_mutex; // held while a line is written
    // Writing to them is guarded by m_mutex. Both may be one terminal, which the last restores first.
    OutputStream m_output;
    OutputStream m_error;
    StatusLine m_status;   // guarded by m_mutex; on m_error
    bool m_isOver = false; // guarded by m_mutex; the terminal was given back
};

} // namespace Zv::Host
