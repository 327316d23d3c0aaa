#include "Host/ProblemWatch.h"

#include "Host/HResults.h"
#include "Host/Utf.h"

#include <charconv>
#include <new>
#include <string_view>

namespace Zv::Host
{

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
    return ProblemText(ToUtf8(m_text));
}

void ProblemWatch::Keep(const Logging::LogLine& line, void* self) noexcept
{
    auto& watch = *static_cast<ProblemWatch*>(self);
    const std::wstring_view text{line.text, line.length};
    const bool isFailure = line.level == Logging::Level::Error ||
                           text.find(L"failed on function ") != std::wstring_view::npos ||
                           text.find(L"return data") != std::wstring_view::npos;
    if (!isFailure || line.context == nullptr || watch.m_clientId != line.context)
    {
        return;
    }
    try
    {
        const std::lock_guard held{watch.m_mutex};
        watch.m_text.assign(text);
    }
    catch (const std::bad_alloc&)
    {
        return; // the error line goes without it
    }
}

std::string ProblemText(const std::string& logText)
{
    constexpr std::string_view endOfPrefix = " - ";
    constexpr std::string_view failure = "failed on function ";
    constexpr std::string_view status = " with HRESULT 0x";

    std::string_view text = logText;
    if (const std::size_t prefix = text.find(endOfPrefix); prefix != std::string_view::npos)
    {
        text.remove_prefix(prefix + endOfPrefix.size());
    }
    const std::size_t digits = text.find(status);
    if (!text.starts_with(failure) || digits == std::string_view::npos)
    {
        return std::string{text};
    }
    const std::string_view call = text.substr(failure.size(), digits - failure.size());
    const std::string_view number = text.substr(digits + status.size());
    unsigned int code = 0;
    std::from_chars(number.data(), number.data() + number.size(), code, 16);
    const HResultInfo* const info = FindHResult(code);
    return std::string{call} + " gave 0x" + std::string{number} +
           (info != nullptr ? std::string{" ("} + info->meaning + ')' : "");
}

} // namespace Zv::Host
