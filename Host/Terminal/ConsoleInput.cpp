#include "Host/Terminal/ConsoleInput.h"

#include "Host/Text/Failure.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <system_error>

namespace Zv::Host
{

using Tessel::Server::Shared::Handle;

namespace
{

constexpr DWORD RetryTime = 20;
constexpr DWORD EnterTime = 100; // for the console to end the line

std::atomic<std::size_t> g_linesRead = 0;

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
std::optional<std::basic_string<typename Reader::Character>> ReadLine(const Interruption& interruption)
{
    const ReadBreaker breaker{interruption};
    std::basic_string<typename Reader::Character> line;
    for (bool any = false;; any = true)
    {
        typename Reader::Character character{};
        DWORD count = 0;
        if (!Reader::Read(character, count) && GetLastError() != ERROR_BROKEN_PIPE &&
            GetLastError() != ERROR_HANDLE_EOF)
        {
            const DWORD error = GetLastError();
            interruption.Check(); // which is why it failed
            throw Failure{ExitCode::InputOutput, "cannot read standard input: " + SystemErrorText(error)};
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
    ++g_linesRead;
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
        const std::optional<std::wstring> line = ReadLine<ConsoleReader>(interruption);
        if (!line)
        {
            static_cast<void>(interruption.Wait(std::chrono::milliseconds{200})); // Ctrl-C's handler may come later
        }
        interruption.Check();
        return line ? std::optional{ToUtf8(*line)} : std::nullopt;
    }
    std::optional<std::string> line = ReadLine<ByteReader>(interruption);
    if (line && (!ToUtf16Strictly(*line) || line->find('\0') != std::string::npos))
    {
        throw Failure{ExitCode::BadInput, "standard input is not text in UTF-8"};
    }
    return line;
}

std::size_t InputLinesRead() noexcept
{
    return g_linesRead;
}

namespace
{

Handle ThisThread()
{
    HANDLE thread = nullptr;
    if (DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0, FALSE,
                        DUPLICATE_SAME_ACCESS) == FALSE)
    {
        throw std::system_error{static_cast<int>(GetLastError()), std::system_category(), "DuplicateHandle"};
    }
    return Handle{thread};
}

void PressEnter() noexcept
{
    INPUT_RECORD key{};
    key.EventType = KEY_EVENT;
    key.Event.KeyEvent.bKeyDown = TRUE;
    key.Event.KeyEvent.wRepeatCount = 1;
    key.Event.KeyEvent.wVirtualKeyCode = VK_RETURN;
    key.Event.KeyEvent.uChar.UnicodeChar = L'\r';
    DWORD written = 0;
    WriteConsoleInputW(Input(), &key, 1, &written);
}

} // namespace

ReadBreaker::ReadBreaker(const Interruption& interruption)
    : m_interruption{interruption},
      m_reader{ThisThread()},
      m_watch{[this] { Watch(); }}
{
}

ReadBreaker::~ReadBreaker()
{
    m_over.Set();
    m_watch.join();
}

void ReadBreaker::Watch() const noexcept
{
    const HANDLE waited[] = {m_over.Event(), m_interruption.Event()};
    if (WaitForMultipleObjects(2, waited, FALSE, INFINITE) == WAIT_OBJECT_0)
    {
        return;
    }
    if (!InputIsConsole())
    {
        do
        {
            CancelSynchronousIo(m_reader.Get()); // fails while the thread is about to read
        } while (!m_over.Wait(RetryTime));
    }
    // Some consoles end a line by themselves when Ctrl-C is pressed; in others, a read that is cancelled would live on
    // and take the next line.
    else if (!m_over.Wait(EnterTime))
    {
        PressEnter();
    }
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
