#include "Tests/Abi/Host/Check.h"

#include <windows.h>

namespace Abi
{

namespace
{

Case* g_first = nullptr;
Case* g_last = nullptr;
bool g_failed = false;

void Print(const char* text)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(lstrlenA(text)), &written, nullptr);
}

void PrintNumber(long long value)
{
    char text[32];
    wsprintfA(text, "0x%x%08x", static_cast<unsigned>(static_cast<unsigned long long>(value) >> 32),
              static_cast<unsigned>(value));
    Print(text);
}

bool StartsWith(const char* text, const char* start)
{
    while (*start != '\0' && *text == *start)
    {
        ++text;
        ++start;
    }
    return *start == '\0';
}

// The text after `option` on the command line; null when the option is not there.
const char* Option(const char* commandLine, const char* option)
{
    for (const char* at = commandLine; *at != '\0'; ++at)
    {
        if (StartsWith(at, option))
        {
            return at + lstrlenA(option);
        }
    }
    return nullptr;
}

void List()
{
    const char* suite = "";
    for (const Case* c = g_first; c != nullptr; c = c->next)
    {
        if (lstrcmpA(suite, c->suite) != 0)
        {
            suite = c->suite;
            Print(suite);
            Print(".\n");
        }
        Print("  ");
        Print(c->name);
        Print("\n");
    }
}

void Run(const Case& c)
{
    g_failed = false;
    Print("[ RUN    ] ");
    Print(c.suite);
    Print(".");
    Print(c.name);
    Print("\n");
    c.body();
    Print(g_failed ? "[ FAILED ] " : "[     OK ] ");
    Print(c.suite);
    Print(".");
    Print(c.name);
    Print("\n");
}

} // namespace

Case::Case(const char* suite, const char* name, void (*body)()) : suite{suite}, name{name}, body{body}
{
    (g_last == nullptr ? g_first : g_last->next) = this;
    g_last = this;
}

int RunCases(const char* commandLine)
{
    if (Option(commandLine, "--gtest_list_tests") != nullptr)
    {
        List();
        return 0;
    }
    const char* const filter = Option(commandLine, "--gtest_filter=");
    bool found = false;
    bool failed = false;
    for (const Case* c = g_first; c != nullptr; c = c->next)
    {
        if (filter == nullptr || (StartsWith(filter, c->suite) && StartsWith(filter + lstrlenA(c->suite), ".*")))
        {
            Run(*c);
            found = true;
            failed = failed || g_failed;
        }
    }
    if (!found)
    {
        Print("No case of that name.\n");
    }
    return found && !failed ? 0 : 1;
}

void ReportFailure(const char* file, int line, const char* expression, const char* details)
{
    g_failed = true;
    char number[16];
    wsprintfA(number, "(%d): ", line);
    Print(file);
    Print(number);
    Print(expression);
    Print(" ");
    Print(details);
    Print("\n");
}

void CheckNumbers(const char* file, int line, const char* expression, long long expected, long long actual)
{
    if (expected != actual)
    {
        ReportFailure(file, line, expression, "is not what it should be");
        Print("    expected ");
        PrintNumber(expected);
        Print(", is ");
        PrintNumber(actual);
        Print("\n");
    }
}

void CheckTexts(const char* file, int line, const char* expression, const char* expected, const char* actual)
{
    if (actual == nullptr || lstrcmpA(expected, actual) != 0)
    {
        ReportFailure(file, line, expression, "is not what it should be");
        Print("    expected ");
        Print(expected);
        Print(", is ");
        Print(actual == nullptr ? "null" : actual);
        Print("\n");
    }
}

void CheckTexts(const char* file, int line, const char* expression, const wchar_t* expected, const wchar_t* actual)
{
    const auto narrow = [](const wchar_t* text, char(&room)[512]) {
        if (text == nullptr || WideCharToMultiByte(CP_UTF8, 0, text, -1, room, sizeof room, nullptr, nullptr) == 0)
        {
            lstrcpyA(room, text == nullptr ? "null" : "a text too long to show");
        }
        return room;
    };
    if (actual == nullptr || lstrcmpW(expected, actual) != 0)
    {
        char expectedText[512];
        char actualText[512];
        ReportFailure(file, line, expression, "is not what it should be");
        Print("    expected ");
        Print(narrow(expected, expectedText));
        Print(", is ");
        Print(narrow(actual, actualText));
        Print("\n");
    }
}

} // namespace Abi
