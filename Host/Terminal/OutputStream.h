// Standard output or standard error.
#pragma once

#include "Host/Terminal/Style.h"

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Zv::Host
{

// Takes UTF-8. A terminal shows it as text whatever its code page, a pipe or file receives the bytes as they are. For
// one thread at a time.
class OutputStream
{
public:
    explicit OutputStream(DWORD standardHandle) noexcept;
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;
    ~OutputStream() { Restore(); }

    // False, with GetLastError(), when that fails.
    [[nodiscard]] bool Write(std::string_view text);

    [[nodiscard]] bool IsTerminal() const noexcept { return m_isTerminal; }
    // Columns of the terminal; nothing where it is none.
    [[nodiscard]] std::optional<std::size_t> Width() const noexcept;

    // There are no colours before this.
    void UseColor(ColorChoice choice);
    [[nodiscard]] bool HasColors() const noexcept { return m_hasColors; }
    // The text in that style where there are colours.
    [[nodiscard]] std::string In(Style style, std::string_view text) const;

    // Gives the terminal back as it was.
    void Restore() noexcept;

private:
    [[nodiscard]] bool EnableSequences();
    [[nodiscard]] bool WriteInColors(std::wstring_view text);
    [[nodiscard]] bool WriteToTerminal(std::wstring_view text);

    HANDLE m_handle;
    bool m_isTerminal = false;
    bool m_hasColors = false;
    bool m_takesSequences = false;
    std::optional<DWORD> m_modeBefore; // of a terminal whose mode was changed
    WORD m_attributesBefore = 0;       // of a terminal with colours that takes no sequences
};

} // namespace Zv::Host
