#include "Host/Text/SystemError.h"

#include "Platform/Windows/Utf8.h"

#include <windows.h>

#include <memory>

namespace Zv::Host
{

std::string SystemErrorText(unsigned long error)
{
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                            FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                                        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const std::unique_ptr<wchar_t, decltype(&LocalFree)> owner{text, &LocalFree};
    std::string message = length > 0 ? ToUtf8({text, length}) : std::string{};
    while (!message.empty() && (message.back() == ' ' || message.back() == '.'))
    {
        message.pop_back();
    }
    const std::string number = "system error " + std::to_string(error);
    return message.empty() ? number : message + " (" + number + ')';
}

} // namespace Zv::Host
