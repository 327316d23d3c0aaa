#include "Host/ConsoleInput.h"

#include "Host/Failure.h"
#include "Host/SystemError.h"
#include "Host/Utf.h"

#include <windows.h>

#include <chrono>

namespace Zv::Host
{

namespace
{

HANDLE Input() noexcept
{
    return GetStdHandle(STD_INPUT_HANDLE);
}

struct ConsoleReader
{
    using Character = wchar_t;
    static bool Read(wchar_t& character, DWORD& count) noexcept
    {
        return ReadConsoleW(Input(), &character, 1, &count, nullptr) != FALSE;
    }
};

struct ByteReader
{
    using Character = char;
    static bool Read(char& byte, DWORD& count) noexcept
    {
        return ReadFile(Input(), &byte, 1, &count, nullptr) != FALSE;
    }
};

// Character by character, so that nothing behind the line is taken.
template <class Reader>
std::optional<std::basic_string<typename Reader::Character>> ReadLine()
{
    std::basic_string<typename Reader::Character> line;
    for (bool any = false;; any = true)
    {
        typename Reader::Character character{};
        DWORD count = 0;
        if (!Reader::Read(character, count) && GetLastError() != ERROR_BROKEN_PIPE &&
            GetLastError() != ERROR_HANDLE_EOF)
        {
            throw Failure{ExitCode::InputOutput, "cannot read standard input: " + SystemErrorText(GetLastError())};
        }
        if (count == 0 && !any)
        {
            return std::nullopt;
        }
        if (count == 0 || character == '\n')
        {
            break;
        }
        line += character;
    }
    if (line.ends_with('\r'))
    {
        line.pop_back();
    }
    return line;
}

} // namespace

bool InputIsConsole() noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(Input(), &mode) != FALSE;
}

std::optional<std::string> ReadInputLine(const Interruption& interruption)
{
    if (InputIsConsole())
    {
        const std::optional<std::wstring> line = ReadLine<ConsoleReader>();
        if (!line && interruption.Wait(std::chrono::milliseconds{200})) // Ctrl-C ends the line before its handler runs
        {
            throw Failure{interruption.Reason()};
        }
        return line ? std::optional{ToUtf8(*line)} : std::nullopt;
    }
    std::optional<std::string> line = ReadLine<ByteReader>();
    if (line && (!ToUtf16Strictly(*line) || line->find('\0') != std::string::npos))
    {
        throw Failure{ExitCode::BadInput, "standard input is not text in UTF-8"};
    }
    return line;
}

HiddenInput::HiddenInput() noexcept
{
    if (GetConsoleMode(Input(), &m_mode) != FALSE)
    {
        SetConsoleMode(Input(), m_mode & ~DWORD{ENABLE_ECHO_INPUT});
    }
}

HiddenInput::~HiddenInput()
{
    if (m_mode != 0)
    {
        SetConsoleMode(Input(), m_mode);
    }
}

} // namespace Zv::Host
