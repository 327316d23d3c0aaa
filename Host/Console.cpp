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

void Console::WriteErrorLine(std::string_view text) noexcept
{
    try
    {
        Prompt(std::string{text} + '\n');
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
