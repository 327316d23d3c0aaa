// Runs a program in the terminal of this process, which should be one of its own, and writes to standard output what
// the screen showed, in UTF-8: each state that it saw, without blanks at the ends, behind a line "screen:". Characters
// that are not in the usual colours stand between < and >.
//   usage: Terminal COLUMNS PROGRAM [ARGUMENT...]
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <vector>

namespace
{

constexpr DWORD Watchdog = 60000;
constexpr DWORD SampleTime = 20;
constexpr WORD UsualColors = FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_BLUE;

HANDLE OpenConsole(const wchar_t* name)
{
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, OPEN_EXISTING,
                       0, nullptr);
}

// What a line of the screen shows.
std::wstring ReadLine(HANDLE screen, SHORT row, SHORT columns)
{
    std::vector<CHAR_INFO> cells(static_cast<std::size_t>(columns));
    SMALL_RECT region{0, row, static_cast<SHORT>(columns - 1), row};
    ReadConsoleOutputW(screen, cells.data(), {columns, 1}, {0, 0}, &region);
    std::wstring line;
    bool isUsual = true;
    for (const CHAR_INFO& cell : cells)
    {
        if ((cell.Attributes == UsualColors) != isUsual)
        {
            line += isUsual ? L'<' : L'>';
            isUsual = !isUsual;
        }
        line += cell.Char.UnicodeChar;
    }
    line += isUsual ? L"" : L">";
    line.erase(line.find_last_not_of(L" \0") + 1);
    return line;
}

std::wstring ReadScreen(HANDLE screen)
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    GetConsoleScreenBufferInfo(screen, &info);
    std::wstring text = L"screen:\n";
    for (SHORT row = 0; row <= info.dwCursorPosition.Y; ++row)
    {
        text += ReadLine(screen, row, info.dwSize.X) + L'\n';
    }
    return text;
}

// The command line of this process behind its first arguments, as it is.
std::wstring RestOfCommandLine(const wchar_t* columns)
{
    const std::wstring all = GetCommandLineW();
    return all.substr(all.find(columns, all.find(L"Terminal")) + std::wstring{columns}.size() + 2);
}

void Write(const std::wstring& text)
{
    std::string bytes(text.size() * 3, '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, nullptr);
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(size), &written, nullptr);
}

} // namespace

extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
    {
        return EXIT_FAILURE;
    }
    const HANDLE input = OpenConsole(L"CONIN$");
    const HANDLE screen = OpenConsole(L"CONOUT$");
    const auto columns = static_cast<SHORT>(std::wcstol(argv[1], nullptr, 10));
    const SMALL_RECT window{0, 0, static_cast<SHORT>(columns - 1), 24};
    const SMALL_RECT smallest{0, 0, 0, 0};
    SetConsoleWindowInfo(screen, TRUE, &smallest); // never larger than the buffer
    if (SetConsoleScreenBufferSize(screen, {columns, 100}) == FALSE ||
        SetConsoleWindowInfo(screen, TRUE, &window) == FALSE)
    {
        return EXIT_FAILURE;
    }

    std::wstring commandLine = RestOfCommandLine(argv[1]);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = screen;
    startup.hStdError = screen;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process) ==
        FALSE)
    {
        return EXIT_FAILURE;
    }
    std::wstring seen;
    std::wstring last;
    const ULONGLONG end = GetTickCount64() + Watchdog;
    for (bool isRunning = true; isRunning && GetTickCount64() < end;)
    {
        isRunning = WaitForSingleObject(process.hProcess, SampleTime) == WAIT_TIMEOUT;
        const std::wstring now = ReadScreen(screen);
        seen += now != last ? now : L"";
        last = now;
    }
    DWORD mode = 0;
    GetConsoleMode(screen, &mode);
    Write(seen + L"mode: " + std::to_wstring(mode) + L'\n');
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    return static_cast<int>(exitCode);
}
