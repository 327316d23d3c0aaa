#include "Host/Watch/ProblemWatch.h"

#include "Host/Explain/HResults.h"
#include "Host/Watch/LogText.h"
#include "Platform/Windows/Utf8.h"

#include <new>
#include <utility>

namespace Zv::Host
{

ProblemWatch::ProblemWatch() : m_sink{Logging::Sinks::Add(Logging::Level::Warning, &Keep, this)} {}

ProblemWatch::ProblemWatch(std::wstring clientId)
    : m_clientId{std::move(clientId)},
      m_sink{Logging::Sinks::Add(Logging::Level::Warning, &Keep, this)}
{
}

void ProblemWatch::Forget()
{
    const std::lock_guard held{m_mutex};
    m_text.clear();
}

std::string ProblemWatch::Problem() const
{
    const std::lock_guard held{m_mutex};
    return m_clientId ? ProblemText(m_text) : std::string{WithoutStop(m_text)};
}

unsigned int ProblemWatch::Status() const
{
    const std::lock_guard held{m_mutex};
    const std::optional<FailedCall> failed = FindFailedCall(m_text);
    return failed ? failed->status : 0;
}

void ProblemWatch::Keep(const Logging::LogLine& line, void* self) noexcept
{
    try
    {
        static_cast<ProblemWatch*>(self)->Keep(line);
    }
    catch (const std::bad_alloc&)
    {
        return; // the error line goes without it
    }
}

void ProblemWatch::Keep(const Logging::LogLine& line)
{
    const bool isOurs =
        m_clientId ? line.context != nullptr && *m_clientId == line.context : line.overload == Logging::Overload::Text;
    if (!isOurs)
    {
        return;
    }
    std::string text = ToUtf8({line.text, line.length});
    const bool isCall = FindFailedCall(text).has_value();
    const bool counts =
        m_clientId ? isCall || line.level == Logging::Level::Error || LacksReturnData(text) : !IsHarmless(text);
    const std::lock_guard held{m_mutex};
    if (counts && (isCall || !FindFailedCall(m_text)))
    {
        m_text = std::move(text);
    }
}

std::string ProblemText(const std::string& logText)
{
    const std::optional<FailedCall> failed = FindFailedCall(logText);
    if (!failed)
    {
        return std::string{WithoutSource(logText)};
    }
    const HResultInfo* const info = FindHResult(failed->status);
    return std::string{failed->call} + " gave 0x" + std::string{failed->digits} +
           (info != nullptr ? std::string{" ("} + info->meaning + ')' : "");
}

} // namespace Zv::Host
