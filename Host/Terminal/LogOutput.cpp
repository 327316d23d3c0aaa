#include "Host/Terminal/LogOutput.h"

#include "Platform/Windows/Utf8.h"

#include <new>
#include <string>

namespace Zv::Host
{

namespace
{

struct Look
{
    const char* name;
    Style style;
};

Look LookOf(Logging::Level level) noexcept
{
    switch (level)
    {
    case Logging::Level::Info:
        return {"info", Style::Faint};
    case Logging::Level::Warning:
        return {"warning", Style::Warning};
    case Logging::Level::Error:
        break;
    }
    return {"error", Style::Error};
}

} // namespace

LogOutput::LogOutput(Logging::Level least, Console& console) noexcept
    : m_sink{Logging::Sinks::Add(least, &Write, &console)}
{
}

void LogOutput::Write(const Logging::LogLine& line, void* console) noexcept
{
    try
    {
        Console& output = *static_cast<Console*>(console);
        const Look look = LookOf(line.level);
        std::string text = output.OnError(look.style, look.name);
        if (line.context != nullptr)
        {
            text += " [" + ToUtf8(line.context) + ']';
        }
        text += ' ' + ToUtf8({line.text, line.length}) + (line.cut ? " ..." : "");
        output.WriteErrorLine(text);
    }
    catch (const std::bad_alloc&)
    {
        return; // nor could its report be written
    }
}

} // namespace Zv::Host
