// Presses Ctrl-C in the console of the process whose id it is given. A process can have one console only, so that a
// test program would lose its own over this.
#include <windows.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    FreeConsole();
    // This process gets the event, too.
    return argc == 2 && AttachConsole(std::strtoul(argv[1], nullptr, 10)) != FALSE &&
                   SetConsoleCtrlHandler(nullptr, TRUE) != FALSE && GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != FALSE
               ? 0
               : 1;
}
