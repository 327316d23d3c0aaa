#include "Host/Shell/Prompt.h"

#include "Host/Shell/FileNames.h"
#include "Host/Shell/Words.h"
#include "Host/Terminal/ConsoleInput.h"
#include "Host/Text/Failure.h"
#include "Host/Text/SystemError.h"
#include "Platform/Windows/Utf8.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <utility>

namespace Zv::Host
{

namespace
{

constexpr char Text[] = "wmihost> ";
constexpr wchar_t EndOfInput = L'\x1a'; // Ctrl-Z
constexpr DWORD LongestLine = 8192;
constexpr std::size_t MostListed = 200;

bool IsModifier(WORD key) noexcept
{
    constexpr WORD modifiers[] = {VK_SHIFT, VK_CONTROL, VK_MENU, VK_CAPITAL, VK_NUMLOCK, VK_SCROLL, VK_LWIN, VK_RWIN};
    return std::ranges::find(modifiers, key) != std::end(modifiers);
}

// Something that a line being typed is made of.
bool IsTyped(const INPUT_RECORD& record) noexcept
{
    const KEY_EVENT_RECORD& key = record.Event.KeyEvent;
    return record.EventType == KEY_EVENT && (key.uChar.UnicodeChar != 0 || !IsModifier(key.wVirtualKeyCode)) &&
           (key.bKeyDown != FALSE || (key.wVirtualKeyCode == VK_MENU && key.uChar.UnicodeChar != 0));
}

// Takes away what is before the first key that counts; whether there is one.
bool KeyIsWaiting(HANDLE input) noexcept
{
    INPUT_RECORD record{};
    DWORD count = 0;
    while (PeekConsoleInputW(input, &record, 1, &count) != FALSE && count == 1)
    {
        if (IsTyped(record))
        {
            return true;
        }
        ReadConsoleInputW(input, &record, 1, &count);
    }
    return false;
}

// How far the words agree, but for case.
std::string CommonBegin(const std::vector<std::string>& words)
{
    std::string common = words.front();
    for (const std::string& word : words)
    {
        const auto differs = std::ranges::mismatch(
            common, word, [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
        common.erase(differs.in1, common.end());
    }
    return common;
}

// What the word becomes that is being typed.
std::string Continued(const std::vector<std::string>& words, const std::string& begin)
{
    if (words.size() == 1)
    {
        const std::string& word = words.front();
        return word.ends_with('\\') || word.ends_with('=') ? word : QuotedWord(word) + ' ';
    }
    const std::string common = CommonBegin(words);
    return common.size() > begin.size() ? common : "";
}

} // namespace

Prompt::Prompt(Console& console, Notices& notices, Completer complete)
    : m_console{console},
      m_notices{notices},
      m_complete{std::move(complete)},
      m_input{GetStdHandle(STD_INPUT_HANDLE)}
{
}

std::optional<std::string> Prompt::Read(const Interruption& interruption)
{
    m_notices.Hold();
    Show({});
    WaitForKey(interruption);
    std::wstring line = ReadOn({}, interruption);
    for (std::size_t tab = 0; (tab = line.find(L'\t')) != std::wstring::npos;)
    {
        line = ReadOn(CompleteAt(line, tab), interruption);
    }
    m_notices.Release();
    if (line.starts_with(EndOfInput))
    {
        return std::nullopt;
    }
    line.erase(line.find_last_not_of(L"\r\n") + 1);
    return ToUtf8(line);
}

void Prompt::Show(const std::wstring& line)
{
    m_console.Prompt(Text + ToUtf8(line));
}

void Prompt::WaitForKey(const Interruption& interruption)
{
    const HANDLE waited[] = {interruption.Event(), m_notices.Kept(), m_input};
    do
    {
        if (WaitForMultipleObjects(3, waited, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
        {
            m_console.Prompt('\r' + std::string(sizeof Text - 1, ' ') + '\r');
            m_notices.Release();
            m_notices.Hold();
            Show({});
        }
        interruption.Check();
    } while (!KeyIsWaiting(m_input));
}

std::wstring Prompt::ReadOn(const std::wstring& line, const Interruption& interruption)
{
    const ReadBreaker breaker{interruption};
    std::wstring buffer = line;
    buffer.resize(LongestLine);
    CONSOLE_READCONSOLE_CONTROL control{};
    control.nLength = sizeof control;
    control.nInitialChars = static_cast<ULONG>(line.size());
    control.dwCtrlWakeupMask = 1U << '\t';
    DWORD count = 0;
    const bool read = ReadConsoleW(m_input, buffer.data(), LongestLine, &count, &control) != FALSE;
    const DWORD error = GetLastError();
    if (!read || count == 0)
    {
        static_cast<void>(interruption.Wait(std::chrono::milliseconds{200})); // Ctrl-C's handler may come later
    }
    interruption.Check();
    if (!read)
    {
        throw Failure{ExitCode::InputOutput, "cannot read the console: " + SystemErrorText(error)};
    }
    buffer.resize(count);
    return buffer;
}

// What Tab makes of the line, which it leaves on the screen. It stands in the line as a character of its own.
std::wstring Prompt::CompleteAt(const std::wstring& line, std::size_t tab)
{
    const std::string before = ToUtf8(line.substr(0, tab));
    std::wstring after = line.substr(tab + 1);
    Words typed = SplitWords(before);
    std::string begin;
    if (typed.endsInWord)
    {
        begin = typed.words.back();
        typed.words.pop_back();
    }
    const Completion completion = m_complete(typed.words, begin);
    const std::vector<std::string> words = completion.files ? FileNamesThatBegin(begin) : completion.words;

    const std::string more = words.empty() ? "" : Continued(words, begin);
    const std::wstring completed = ToUtf16(more.empty() ? before : before.substr(0, typed.lastBegin) + more);
    const bool isLonger = completed.starts_with(line.substr(0, tab));
    if (more.empty() && words.size() > 1)
    {
        List(words);
        Show(completed + after);
    }
    else if (isLonger && after.empty())
    {
        m_console.Prompt(ToUtf8(completed.substr(tab)));
    }
    else
    {
        m_console.Prompt("\n");
        Show(completed + after);
    }
    return completed + after;
}

// In columns, below the line.
void Prompt::List(const std::vector<std::string>& words)
{
    std::size_t widest = 0;
    for (const std::string& word : words)
    {
        widest = std::max(widest, word.size() + 2);
    }
    const std::size_t columns = std::max<std::size_t>(1, m_console.OutputWidth().value_or(80) / widest);
    std::string text = "\n";
    for (std::size_t i = 0; i < words.size() && i < MostListed; ++i)
    {
        text += words[i];
        const bool endsLine = (i + 1) % columns == 0 || i + 1 == std::min(words.size(), MostListed);
        text += endsLine ? "\n" : std::string(widest - words[i].size(), ' ');
    }
    if (words.size() > MostListed)
    {
        text += "and " + std::to_string(words.size() - MostListed) + " more\n";
    }
    m_console.Prompt(text);
}

} // namespace Zv::Host
