#include "Host/Watch/ProblemWatch.h"

#include "Host/Explain/HResults.h"
#include "Host/Text/Utf.h"

#include <charconv>
#include <new>
#include <optional>
#include <string_view>

namespace Zv::Host
{

namespace
{

// Of "failed on function CALL with HRESULT 0xDIGITS".
struct FailedCall
{
    std::string_view call;
    std::string_view digits;
    unsigned int status = 0;
};

// Takes the names of the class and method that logged it off.
std::string_view WithoutPrefix(std::string_view text)
{
    constexpr std::string_view endOfPrefix = " - ";
    const std::size_t prefix = text.find(endOfPrefix);
    return prefix == std::string_view::npos ? text : text.substr(prefix + endOfPrefix.size());
}

std::optional<FailedCall> FindFailedCall(std::string_view logText)
{
    constexpr std::string_view failure = "failed on function ";
    constexpr std::string_view status = " with HRESULT 0x";

    const std::string_view text = WithoutPrefix(logText);
    const std::size_t end = text.find(status);
    if (!text.starts_with(failure) || end == std::string_view::npos)
    {
        return std::nullopt;
    }
    FailedCall failed{text.substr(failure.size(), end - failure.size()), text.substr(end + status.size())};
    std::from_chars(failed.digits.data(), failed.digits.data() + failed.digits.size(), failed.status, 16);
    return failed;
}

} // namespace

ProblemWatch::ProblemWatch(std::wstring clientId)
    : m_clientId{std::move(clientId)},
      m_sink{Logging::Sinks::Add(Logging::Level::Warning, &Keep, this)}
{
}

void ProblemWatch::Forget()
{
    const std::lock_guard held{m_mutex};
    m_text.clear();
    m_isCall = false;
}

std::string ProblemWatch::Problem() const
{
    const std::lock_guard held{m_mutex};
    return ProblemText(ToUtf8(m_text));
}

unsigned int ProblemWatch::Status() const
{
    const std::lock_guard held{m_mutex};
    return ProblemStatus(ToUtf8(m_text));
}

void ProblemWatch::Keep(const Logging::LogLine& line, void* self) noexcept
{
    auto& watch = *static_cast<ProblemWatch*>(self);
    const std::wstring_view text{line.text, line.length};
    const bool isCall = text.find(L"failed on function ") != std::wstring_view::npos;
    const bool isFailure =
        isCall || line.level == Logging::Level::Error || text.find(L"return data") != std::wstring_view::npos;
    if (!isFailure || line.context == nullptr || watch.m_clientId != line.context)
    {
        return;
    }
    try
    {
        const std::lock_guard held{watch.m_mutex};
        if (isCall || !watch.m_isCall)
        {
            watch.m_text.assign(text);
            watch.m_isCall = isCall;
        }
    }
    catch (const std::bad_alloc&)
    {
        return; // the error line goes without it
    }
}

std::string ProblemText(const std::string& logText)
{
    const std::optional<FailedCall> failed = FindFailedCall(logText);
    if (!failed)
    {
        return std::string{WithoutPrefix(logText)};
    }
    const HResultInfo* const info = FindHResult(failed->status);
    return std::string{failed->call} + " gave 0x" + std::string{failed->digits} +
           (info != nullptr ? std::string{" ("} + info->meaning + ')' : "");
}

unsigned int ProblemStatus(const std::string& logText)
{
    const std::optional<FailedCall> failed = FindFailedCall(logText);
    return failed ? failed->status : 0;
}

} // namespace Zv::Host
