#include "Host/Application.h"
#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <string>
#include <vector>

// main() would get the arguments in the code page of the user, with characters lost. The C run time takes the command
// line apart: the function of shell32 would bring that DLL and those behind it into a short-lived process.
extern "C" int wmain(int count, wchar_t** arguments)
{
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i)
    {
        texts.push_back(Zv::ToUtf8(arguments[i]));
    }
    // Not by returning: where the module's hotkeys are armed, its threads go on until the process is gone, and would
    // find destroyed what they use of this program.
    ExitProcess(static_cast<UINT>(Zv::Host::RunApplication(texts)));
}
