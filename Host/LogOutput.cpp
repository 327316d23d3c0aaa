#include "Host/LogOutput.h"

#include "Host/Utf.h"

#include <new>
#include <string>

namespace Zv::Host
{

namespace
{

const char* Name(Logging::Level level) noexcept
{
    switch (level)
    {
    case Logging::Level::Info:
        return "info";
    case Logging::Level::Warning:
        return "warning";
    case Logging::Level::Error:
        break;
    }
    return "error";
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
        std::string text = Name(line.level);
        if (line.context != nullptr)
        {
            text += " [" + ToUtf8(line.context) + ']';
        }
        text += ' ' + ToUtf8({line.text, line.length}) + (line.cut ? " ..." : "");
        static_cast<Console*>(console)->WriteErrorLine(text);
    }
    catch (const std::bad_alloc&)
    {
        return; // nor could its report be written
    }
}

} // namespace Zv::Host
