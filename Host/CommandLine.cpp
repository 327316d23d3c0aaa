#include "Host/CommandLine.h"

#include "Host/Utf.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>

namespace Zv::Host
{

std::vector<std::string> CommandLineArguments()
{
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> arguments{CommandLineToArgvW(GetCommandLineW(), &count),
                                                                    &LocalFree};
    std::vector<std::string> texts;
    for (int i = 1; i < count && arguments; ++i)
    {
        texts.push_back(ToUtf8(arguments.get()[i]));
    }
    return texts;
}

} // namespace Zv::Host
