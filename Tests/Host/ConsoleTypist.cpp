// Types a text into the console of the process whose id it is given; a line ends in a carriage return.
//   usage: ConsoleTypist ID TEXT
#include <windows.h>

#include <cwchar>
#include <vector>

int wmain(int count, wchar_t** arguments)
{
    FreeConsole();
    if (count != 3 || AttachConsole(std::wcstoul(arguments[1], nullptr, 10)) == FALSE)
    {
        return 1;
    }
    std::vector<INPUT_RECORD> keys;
    for (const wchar_t* c = arguments[2]; *c != L'\0'; ++c)
    {
        for (const BOOL down : {TRUE, FALSE})
        {
            INPUT_RECORD record{};
            record.EventType = KEY_EVENT;
            record.Event.KeyEvent.bKeyDown = down;
            record.Event.KeyEvent.wRepeatCount = 1;
            record.Event.KeyEvent.wVirtualKeyCode = *c == L'\r' ? VK_RETURN : *c == L'\t' ? VK_TAB : 0;
            record.Event.KeyEvent.uChar.UnicodeChar = *c;
            keys.push_back(record);
        }
    }
    const HANDLE input = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
    DWORD written = 0;
    return WriteConsoleInputW(input, keys.data(), static_cast<DWORD>(keys.size()), &written) != FALSE ? 0 : 1;
}
