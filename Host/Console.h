// Standard output and standard error.
#pragma once

#include "Host/Style.h"

#include <windows.h>

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

// Takes UTF-8. A console shows it as text whatever its code page, a pipe or file receives the bytes as they are.
// May be used by several threads; lines stay whole.
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

private:
    class Stream
    {
    public:
        explicit Stream(DWORD standardHandle) noexcept;
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        ~Stream() { Restore(); }

        [[nodiscard]] bool Write(std::string_view text);

        void UseColor(ColorChoice choice);
        [[nodiscard]] bool HasColors() const noexcept { return m_hasColors; }
        [[nodiscard]] std::string In(Style style, std::string_view text) const;
        [[nodiscard]] std::optional<std::size_t> Width() const noexcept;
        void Restore() noexcept;

    private:
        [[nodiscard]] bool WriteToConsole(std::string_view text);

        HANDLE m_handle;
        bool m_isConsole = false;
        bool m_hasColors = false;
        std::optional<DWORD> m_modeBefore; // of a console whose mode was changed
    };

    std::mutex m_mutex; // held while a line is written
    // Writing to them is guarded by m_mutex. Both may be one terminal, which the last restores first.
    Stream m_output;
    Stream m_error;
};

} // namespace Zv::Host
