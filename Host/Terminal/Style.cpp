#include "Host/Terminal/Style.h"

#include <windows.h>

namespace Zv::Host
{

namespace
{

const char* CodeOf(Style style) noexcept
{
    switch (style)
    {
    case Style::Plain:
        break;
    case Style::Heading:
        return "1";
    case Style::Good:
        return "32";
    case Style::Warning:
        return "33";
    case Style::Error:
        return "31";
    case Style::Faint:
        return "90";
    }
    return "";
}

// The first characters of an environment variable; empty when it is not set.
std::wstring BeginOfVariable(const wchar_t* name)
{
    wchar_t value[8] = L"";
    const DWORD length = GetEnvironmentVariableW(name, value, static_cast<DWORD>(std::size(value)));
    return length < std::size(value) ? value : L"(long)";
}

} // namespace

std::string Styled(Style style, std::string_view text)
{
    const std::string code = CodeOf(style);
    return code.empty() || text.empty() ? std::string{text} : "\x1b[" + code + 'm' + std::string{text} + "\x1b[0m";
}

bool UserWantsColor()
{
    return BeginOfVariable(L"NO_COLOR").empty() && BeginOfVariable(L"TERM") != L"dumb";
}

} // namespace Zv::Host
